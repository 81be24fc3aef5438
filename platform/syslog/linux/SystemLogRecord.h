// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zorva {

/// A message of the system log as its source has it.
struct SystemLogRecord {
  /// Longer texts are truncated.
  static constexpr std::size_t kMaxTextBytes = 4096;

  std::int64_t time = 0;  ///< seconds since 1970
  std::optional<std::string> sender, process, text;
};

}  // namespace zorva

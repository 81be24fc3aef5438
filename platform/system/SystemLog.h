// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace zorva {

/// The device's console log, for problems that are not log entries.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  /// Writes one line. The bytes are never used as a format; if the log consists of lines, those
  /// that would break a line are escaped. Write errors are ignored.
  virtual void write(std::string_view message) = 0;
};

}  // namespace zorva

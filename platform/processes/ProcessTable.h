// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace zorva {

/// The kernel's records of single processes.
class ProcessTable {
 public:
  virtual ~ProcessTable() = default;

  /// The short command name (at most 16 bytes, any bytes), or nothing if there is no such process.
  virtual std::optional<std::string> commandName(pid_t pid) = 0;
};

}  // namespace zorva

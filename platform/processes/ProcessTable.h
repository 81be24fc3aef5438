#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zorva {

/// The kernel's records of single processes.
class ProcessTable {
 public:
  virtual ~ProcessTable() = default;

  /// The short command name (at most 16 bytes, any bytes), or nothing when there is no such
  /// process.
  virtual std::optional<std::string> commandName(std::int32_t process) = 0;
};

}  // namespace zorva

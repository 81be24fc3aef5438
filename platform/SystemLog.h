#pragma once

#include <string_view>

namespace zorva {

/// The device's console log: where problems go that are no log entries.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  /// Writes one line. The bytes are written as they stand and are never a format; a failure to
  /// write is ignored.
  virtual void write(std::string_view message) = 0;
};

}  // namespace zorva

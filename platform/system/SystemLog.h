// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace zorva {

/// The device's console log: where problems go that are no log entries.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  /// Writes one line. The bytes are never a format; where the log is kept in lines, those that
  /// would break one are written escaped. A failure to write is ignored.
  virtual void write(std::string_view message) = 0;
};

}  // namespace zorva

#pragma once

#include "platform/system/SystemLog.h"

namespace zorva {

/// The journal, else the system's log socket "/dev/log", whichever is there when a line is written.
/// Where standard error is a terminal the line appears there, too, led by "zorva: ".
///
/// Characters that would break a line are written escaped, as safeText() does.
class LinuxSystemLog : public SystemLog {
 public:
  void write(std::string_view message) override;
};

}  // namespace zorva

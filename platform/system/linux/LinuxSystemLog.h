// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Registration.h"
#include "platform/loop/RunLoop.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The journal, else the system's log socket "/dev/log", whichever exists when a line is written.
/// Where neither can be reached, lines go to standard error, led by "zorva: ": not at once, which
/// would be in the middle of the entries of a snapshot, but when the run loop comes to it, or when
/// this object is destroyed.
///
/// Characters that would break a line are written escaped, as safeText() does.
class LinuxSystemLog : public SystemLog {
 public:
  /// The run loop must outlive it.
  explicit LinuxSystemLog(RunLoop& runLoop) : runLoop_(runLoop) {}
  LinuxSystemLog(const LinuxSystemLog&) = delete;
  LinuxSystemLog& operator=(const LinuxSystemLog&) = delete;
  ~LinuxSystemLog() override { writeWaiting(); }

  void write(std::string_view message) override;

 private:
  void writeWaiting();

  RunLoop& runLoop_;
  std::string waiting_;  ///< lines for standard error
  Registration timer_;
};

}  // namespace zorva

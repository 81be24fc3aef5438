// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Registration.h"
#include "platform/loop/RunLoop.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The journal, otherwise the system's log socket "/dev/log", whichever exists when a line is
/// written. If neither can be reached, lines go to standard error, each after "zorva: ": not
/// immediately, which would be in the middle of the entries of a snapshot, but in the next
/// iteration of the run loop, or when this object is destroyed.
///
/// Characters that would break a line are escaped as by safeText().
class LinuxSystemLog : public SystemLog {
 public:
  /// The run loop must outlive this object.
  explicit LinuxSystemLog(RunLoop& runLoop) : runLoop_(runLoop) {}
  LinuxSystemLog(const LinuxSystemLog&) = delete;
  LinuxSystemLog& operator=(const LinuxSystemLog&) = delete;
  ~LinuxSystemLog() override { writeWaiting(); }

  void write(std::string_view message) override;

 private:
  void writeWaiting();

  RunLoop& runLoop_;
  std::string waiting_;  ///< lines buffered for standard error
  Registration timer_;
};

}  // namespace zorva

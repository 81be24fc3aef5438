// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "platform/kit/loop/ClockJumps.h"
#include "platform/sleep/SuspendRecords.h"

namespace zorva {

/// The kernel's suspend statistics, wakeup sources and low-power residency, in sysfs
/// (docs/linux-sleep.md).
class LinuxSuspendRecords : public SuspendRecords {
 public:
  /// Both are for tests.
  explicit LinuxSuspendRecords(std::string sysfs = "/sys",
                               std::function<std::int64_t()> nanosecondsSlept = timeSlept);

  std::optional<SuspendTotals> read() override;

 private:
  void readHardware(SuspendTotals& totals) const;

  std::string sysfs_;
  std::function<std::int64_t()> nanosecondsSlept_;
};

}  // namespace zorva

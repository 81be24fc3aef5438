// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/sleep/SuspendRecords.h"
#include "platform/sleep/SystemPower.h"

namespace zorva {

/// Logs what each sleep was, after the wake or once the system has given up the attempt:
///
///     11/17/26 06:30:02 [Suspend] asleep=08:02:10; hardware=07:58:41; mode=s2idle; result=slept;
///     ... 11/17/26 06:30:02 [Wakeup Sources] rtc_cmos=3; mmc1=1;
///
/// All figures are what the kernel has added since the entry before. There is no logger where the
/// kernel keeps no records of sleeps.
class ZVSuspendLogger : public ZVLogger {
 public:
  static constexpr std::size_t kMaxBlockers = 5;
  static constexpr std::size_t kMaxSources = 20;

  static std::unique_ptr<ZVSuspendLogger> logger(const Services& services, SuspendRecords& records,
                                                 SystemPower& power);
  ~ZVSuspendLogger() override;

  /// Snapshots have no entry: it is about a sleep.
  void log() override {}

 private:
  ZVSuspendLogger(const Services& services, SuspendRecords& records, SystemPower& power,
                  SuspendTotals totals);
  void handlePowerMessage(std::uint32_t type, std::intptr_t argument);
  void logSleep(bool slept);

  SuspendRecords& records_;
  SystemPower& power_;
  SuspendTotals before_;  ///< at the last entry
  SystemPower::Registered registered_;
  Registration source_;
};

}  // namespace zorva

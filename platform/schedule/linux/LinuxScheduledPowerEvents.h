// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/kit/bus/LinuxBus.h"
#include "platform/loop/Clock.h"
#include "platform/schedule/ScheduledPowerEvents.h"

namespace zorva {

/// What is planned on a Linux machine (docs/linux-sleep.md): real-time clocks' wake alarms, the
/// shutdown that the login manager was asked to make, and the service manager's timers that wake
/// the system. "scheduledby" is "rtc0 (rtc_cmos)", "logind", or the timer's name.
///
/// No list when there is none of these three. It is asked for while the system waits to sleep, so
/// no service is asked once the time limit is over: with the last call's own limit, no more than
/// three seconds in all.
class LinuxScheduledPowerEvents : public ScheduledPowerEvents {
 public:
  static constexpr std::chrono::seconds kTimeLimit{1};
  /// Active timers beyond that are not asked.
  static constexpr int kMaxTimers = 200;

  /// Microseconds of CLOCK_MONOTONIC, in which the service manager gives some of its times.
  static std::int64_t monotonicUsec();

  /// Everything referred to must outlive this.
  LinuxScheduledPowerEvents(LinuxBus& bus, const Clock& clock, std::string sysfs = "/sys",
                            std::function<std::int64_t()> monotonic = monotonicUsec);

  std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() override;

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  // Each adds its events, and answers whether there is such a source.
  bool addAlarms(std::vector<Dictionary>& events) const;
  bool addShutdown(std::vector<Dictionary>& events) const;
  bool addTimers(std::vector<Dictionary>& events, Deadline deadline) const;
  bool addTimer(std::vector<Dictionary>& events, const std::string& unit,
                const std::string& path) const;

  LinuxBus& bus_;
  const Clock& clock_;
  std::string sysfs_;
  std::function<std::int64_t()> monotonic_;
};

}  // namespace zorva

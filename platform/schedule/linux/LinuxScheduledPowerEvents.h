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

/// The scheduled events of a Linux machine (docs/linux-sleep.md): wake alarms of real-time clocks,
/// the login manager's scheduled shutdown, and the service manager's timers that wake the system.
/// "scheduledby" is "rtc0 (rtc_cmos)", "logind", or the timer's name.
///
/// There is no list if none of these three exists. It is queried while the system waits to sleep,
/// so no service is called after the time limit: including the last call's own limit, no more than
/// three seconds in all.
class LinuxScheduledPowerEvents : public ScheduledPowerEvents {
 public:
  static constexpr std::chrono::seconds kTimeLimit{1};
  /// Active timers beyond this number are not queried.
  static constexpr int kMaxTimers = 200;

  /// Microseconds of CLOCK_MONOTONIC, in which the service manager reports some times.
  static std::int64_t monotonicUsec();

  /// All arguments must outlive this object.
  LinuxScheduledPowerEvents(LinuxBus& bus, const Clock& clock, std::string sysfs = "/sys",
                            std::function<std::int64_t()> monotonic = monotonicUsec);

  std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() override;

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  // Each adds its events, and returns whether there is such a source.
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/schedule/ScheduledPowerEvents.h"

namespace zorva {

/// Logs the scheduled power events (wake, sleep, shutdown): one entry per event that is not past,
/// at each snapshot and whenever the device is about to sleep.
///
///     11/16/26 14:07:16 [Schedule] event=Scheduled Wake; id=com.example.clock;
///     time=2026-11-17 06:30:00 +0000;
class ZVScheduledWakeLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVScheduledWakeLogger> logger(const Services& services,
                                                       ScheduledPowerEvents& events);

  /// The human-readable type; the type itself if it is unknown.
  static std::string humanReadableScheduledWakeString(const std::string& type);

  void log() override;

 private:
  ZVScheduledWakeLogger(const Services& services, ScheduledPowerEvents& events);

  void logEvent(const Dictionary& event);

  ScheduledPowerEvents& events_;
};

}  // namespace zorva

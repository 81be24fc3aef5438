// SPDX-License-Identifier: Apache-2.0
#include "power/ZVScheduledWakeLogger.h"

#include "core/SleepNotifications.h"
#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVScheduledWakeLogger> ZVScheduledWakeLogger::logger(const Services& services,
                                                                     ScheduledPowerEvents& events) {
  return std::unique_ptr<ZVScheduledWakeLogger>(new ZVScheduledWakeLogger(services, events));
}

ZVScheduledWakeLogger::ZVScheduledWakeLogger(const Services& services, ScheduledPowerEvents& events)
    : ZVLogger(services), events_(events) {
  logOnNotification(kDeviceWillSleep);
}

std::string ZVScheduledWakeLogger::humanReadableScheduledWakeString(const std::string& type) {
  if (type == "wake") return "Scheduled Wake";
  if (type == "wakepoweron") return "Scheduled Wake or Power On";
  if (type == "poweron") return "Power On from Off state";
  if (type == "sleep") return "Scheduled Sleep";
  if (type == "shutdown") return "Scheduled Shutdown";
  if (type == "restart") return "Scheduled Restart";
  return type;
}

void ZVScheduledWakeLogger::log() {
  const auto events = events_.copyScheduledPowerEvents();
  if (!events) return;
  for (const Dictionary& event : *events) {
    const auto time = event["time"].date();
    // An event without a time may still be in the future.
    if (!time || secondsBetween(now(), *time) >= 0.0) logEvent(event);
  }
}

void ZVScheduledWakeLogger::logEvent(const Dictionary& event) {
  const std::string type = humanReadableScheduledWakeString(event["eventtype"].description());
  std::string body = formatText(" event=%s;", safeText(type).c_str());
  body += formatText(" id=%s;", safeText(event["scheduledby"].description()).c_str());
  body += formatText(" time=%s;", safeText(event["time"].description()).c_str());
  logEntryWithBody("Schedule", body);
}

}  // namespace zorva

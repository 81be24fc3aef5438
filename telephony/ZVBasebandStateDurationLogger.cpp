// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVBasebandStateDurationLogger.h"

#include <string>
#include <string_view>

#include "core/SleepNotifications.h"
#include "platform/base/Text.h"
#include "telephony/RadioNotifications.h"

namespace zorva {

std::unique_ptr<ZVBasebandStateDurationLogger> ZVBasebandStateDurationLogger::loggerWithConnection(
    const Services& services, TelephonyNotifications& notifications, const Connection& connection) {
  return initWithConnection(services, connection, [&] {
    return std::unique_ptr<ZVBasebandStateDurationLogger>(
        new ZVBasebandStateDurationLogger(services, notifications, connection));
  });
}

ZVBasebandStateDurationLogger::ZVBasebandStateDurationLogger(const Services& services,
                                                             TelephonyNotifications& notifications,
                                                             const Connection& connection)
    : ZVTelephonyConnectedLogger(services, notifications, connection) {
  registerCallbackForTelephonyNotification(
      [this](std::string_view, const Dictionary& report) { logReport(report); },
      telephony::kStateDurationReport);
  logOnNotification(kDeviceDidWake);
  logOnBatteryLevel();
  logOnNotification(kRadioTransmitStatusDidChange);
}

void ZVBasebandStateDurationLogger::log() {
  telephonyConnection()->requestBasebandStateDurationReport();
}

void ZVBasebandStateDurationLogger::logReport(const Dictionary& report) {
  std::string body;
  for (const auto& [state, duration] : report) {
    std::string_view name = state;
    if (name.starts_with(telephony::kBasebandStatePrefix)) {
      name.remove_prefix(telephony::kBasebandStatePrefix.size());
    }
    body += formatText(" %s=%d ms;", safeText(name).c_str(), duration.integer32());
  }
  logEntryWithBody("Baseband State Durations", body);
}

}  // namespace zorva

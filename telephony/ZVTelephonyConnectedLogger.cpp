// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVTelephonyConnectedLogger.h"

#include <utility>

namespace zorva {

ZVTelephonyConnectedLogger::ZVTelephonyConnectedLogger(const Services& services,
                                                       TelephonyNotifications& notifications,
                                                       Connection connection)
    : ZVLogger(services),
      telephonyNotifications_(notifications),
      telephonyConnection_(std::move(connection)) {}

void ZVTelephonyConnectedLogger::registerCallbackForTelephonyNotification(
    TelephonyNotifications::Callback callback, const std::string& name) {
  telephonySubscriptions_.push_back(telephonyNotifications_.observe(name, std::move(callback)));
}

void ZVTelephonyConnectedLogger::deregisterForAllTelephonyNotifications() {
  telephonySubscriptions_.clear();
}

void ZVTelephonyConnectedLogger::logMissingConnection(const Services& services) {
  // The logger is not enabled, so the line goes to the system log only.
  ZVLogger(services).logError("ZVTelephonyConnectedLogger must be created with a valid connection");
}

}  // namespace zorva

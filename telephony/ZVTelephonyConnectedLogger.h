// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/ZVLogger.h"
#include "platform/telephony/TelephonyNotifications.h"
#include "telephony/ZVTelephonyConnection.h"

namespace zorva {

/// Base of the loggers that share the connection to the telephony server. None is created without
/// one.
class ZVTelephonyConnectedLogger : public ZVLogger {
 public:
  using Connection = std::shared_ptr<ZVTelephonyConnection>;

  const Connection& telephonyConnection() const { return telephonyConnection_; }
  void setTelephonyConnection(Connection connection) {
    telephonyConnection_ = std::move(connection);
  }

  /// Subscribes the callback to the telephony notification, until it is deregistered or this
  /// logger is destroyed.
  void registerCallbackForTelephonyNotification(TelephonyNotifications::Callback callback,
                                                const std::string& name);
  void deregisterForAllTelephonyNotifications();

 protected:
  /// Implements a subclass's loggerWithConnection(): creates the logger, or, if there is no
  /// connection, reports that and returns null. `make` is called with no arguments.
  template <typename Make>
  static auto initWithConnection(const Services& services, const Connection& connection,
                                 const Make& make) -> decltype(make()) {
    if (!connection) {
      logMissingConnection(services);
      return nullptr;
    }
    return make();
  }

  ZVTelephonyConnectedLogger(const Services& services, TelephonyNotifications& notifications,
                             Connection connection);

 private:
  static void logMissingConnection(const Services& services);

  TelephonyNotifications& telephonyNotifications_;
  Connection telephonyConnection_;
  std::vector<Registration> telephonySubscriptions_;
};

}  // namespace zorva

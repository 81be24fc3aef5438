// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/push/PersistentConnections.h"
#include "platform/system/AccountDatabase.h"
#include "platform/system/ProcessIdentity.h"

namespace zorva {

/// Logs the settings of the persistent-connection service and the keep-alive intervals that it has
/// learned, at each snapshot and whenever the service announces a change of the settings or
/// intervals:
///
///     11/16/26 14:07:16 [Keepline] push=enabled; polling_interval=<manual>;
///     11/16/26 14:07:16 [KL Client] id=mail; interval=1680; cache_age=01:02:05;
///
/// The settings belong to the user "mobile", so the effective user is changed to "mobile" while
/// they are read, and for nothing else.
class ZVKeeplineLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVKeeplineLogger> logger(const Services& services,
                                                  PersistentConnections& connections,
                                                  ProcessIdentity& identity,
                                                  AccountDatabase& accounts);

  void log() override;

  // Read from the service at every call.
  bool pushEnabled() const;
  std::int32_t pollingInterval() const;

  // Does nothing, and makes no call, if the process already runs as "mobile".
  void switchProcessToMobileUser();
  void switchProcessToOriginalUser();

 private:
  ZVKeeplineLogger(const Services& services, PersistentConnections& connections,
                   ProcessIdentity& identity, AccountDatabase& accounts);

  PersistentConnections& connections_;
  ProcessIdentity& identity_;
  std::uint32_t mobileUserID_;
  std::uint32_t originalUserID_;
};

}  // namespace zorva

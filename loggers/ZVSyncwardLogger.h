// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/push/AccountSync.h"

namespace zorva {

/// Logs the account-sync service's report of each account, at each snapshot and battery-level
/// notification, and each ping that the service announces:
///
///     11/16/26 14:07:16 [Syncward] name=Work; time_span=3600.00; network_failures=2.00;
///     11/16/26 14:07:16 [Syncward Event] type=ping;
///
/// The fields are those of the report, in its order. Numbers have single precision.
class ZVSyncwardLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVSyncwardLogger> logger(const Services& services, AccountSync& sync);

  void log() override;
  void logDataReceived();
  void logPingSent();

  /// The short name of a report's key; the key itself if it has none.
  static std::string humanReadableSWKey(const std::string& key);

 private:
  ZVSyncwardLogger(const Services& services, AccountSync& sync);

  AccountSync& sync_;
};

}  // namespace zorva

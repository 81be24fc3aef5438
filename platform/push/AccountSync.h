// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/base/Value.h"

namespace zorva {

/// The account-sync service, through its shared connection. Pings are delivered as system
/// notifications.
class AccountSync {
 public:
  virtual ~AccountSync() = default;
  /// One report per account, each with the keys below and any others.
  virtual std::vector<Dictionary> statusReports() = 0;
};

namespace accountsync {
inline constexpr const char* kAccountType = "SyncwardAccountType";
inline constexpr const char* kDisplayName = "SyncwardAccountDisplayName";
inline constexpr const char* kUniqueIdentifier = "SyncwardAccountPersistentIdentifier";
inline constexpr const char* kTimeSpan = "SyncwardTimeSpan";                           ///< seconds
inline constexpr const char* kNetworkingTime = "SyncwardTimeInNetworking";             ///< seconds
inline constexpr const char* kHeartbeatInterval = "SyncwardAverageHeartbeatInterval";  ///< seconds
inline constexpr const char* kSuccessfulRequests = "SyncwardSuccessfulRequests";
inline constexpr const char* kNetworkFailures = "SyncwardFailedNetworkRequests";
inline constexpr const char* kProtocolFailures = "SyncwardFailedProtocolRequests";
inline constexpr const char* kDownloadedElements = "SyncwardDownloadedElements";

/// System notifications.
inline constexpr const char* kPingReceivedTraffic = "com.vennor.syncward.ping-received-traffic";
inline constexpr const char* kPingGoingOut = "com.vennor.syncward.ping-going-out";
}  // namespace accountsync

}  // namespace zorva

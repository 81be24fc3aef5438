// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/reachability/Reachability.h"

namespace zorva {

/// Logs whether the network at large is reachable, and over which kind of path, at each snapshot
/// and whenever that changes:
///
///     11/16/26 14:07:16 [Reachability] transient=no; reachable=yes; conn_required=no;
///     conn_traffic=no; intervention=no; on_demand=no; wwan=yes;
class ZVReachabilityLogger : public ZVLogger {
 public:
  /// Creates the logger; returns null if the subscription to changes fails.
  static std::unique_ptr<ZVReachabilityLogger> logger(const Services& services,
                                                      Reachability& reachability);

  /// Writes nothing if the flags cannot be read.
  void log() override;
  /// Flags without a key of their own are not written.
  void logReachabilityFlags(std::uint32_t flags);

 private:
  explicit ZVReachabilityLogger(const Services& services) : ZVLogger(services) {}
  bool watch(Reachability& reachability);

  std::unique_ptr<ReachabilityTarget> reachabilityRef_;
  Registration scheduled_;  // destroyed before its target
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/base/Observers.h"
#include "platform/reachability/Reachability.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The network-reachability service: everything is reachable over Wi-Fi at first.
class SimReachability : public Reachability {
 public:
  explicit SimReachability(SimParts& parts);

  std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress& address) override;

  /// Notifies the targets if the flags changed.
  void setFlags(std::uint32_t flags);
  /// Empty: they cannot be read.
  std::optional<std::uint32_t> readFlags();

 private:
  class Target;

  SimFaultPoint createTargetFault_;
  SimFaultPoint setCallbackFault_;
  SimFaultPoint flagsFault_;
  std::uint32_t flags_ = reachability::kReachable;
  Observers<std::uint32_t> targets_;
};

}  // namespace zorva

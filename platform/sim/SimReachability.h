#pragma once

#include "platform/Reachability.h"

namespace zorva {

class SimReachability : public Reachability {
 public:
  std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress&) override {
    return nullptr;
  }
};

}  // namespace zorva

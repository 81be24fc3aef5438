#pragma once

#include "platform/Reachability.h"

namespace zorva {

class LinuxReachability : public Reachability {
 public:
  std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress&) override {
    return nullptr;
  }
};

}  // namespace zorva

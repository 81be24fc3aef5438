// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <systemd/sd-event.h>

#include "platform/reachability/Reachability.h"

namespace zorva {

/// Whether the network at large is reachable: looks up over which link the kernel would send to a
/// public address, by IPv4 or otherwise by IPv6. Reachable if there is such a link and it is up;
/// WWAN if the packets leave the device through a mobile interface, even inside a VPN.
/// docs/linux-connectivity.md has the details. The address of a target is ignored: each is watched
/// like the any-address.
class LinuxReachability : public Reachability {
 public:
  static constexpr const char* kNetworkClass = "/sys/class/net";

  /// The event loop must outlive the targets.
  explicit LinuxReachability(sd_event* event, std::string directory = kNetworkClass)
      : event_(event), directory_(std::move(directory)) {}

  std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress& address) override;

 private:
  sd_event* event_;
  std::string directory_;
};

}  // namespace zorva

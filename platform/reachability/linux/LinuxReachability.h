// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <systemd/sd-event.h>

#include "platform/reachability/Reachability.h"

namespace zorva {

/// Whether there is a way to the network at large: the kernel is asked over which link it would
/// send to a public address, by IPv4 or else by IPv6. Reachable where it would and the link is up;
/// over the wide area where what goes over that link leaves the device by a mobile interface, also
/// from within a virtual private network. docs/linux-connectivity.md says more. The address of a
/// target is not read: each is watched as the any-address would be.
class LinuxReachability : public Reachability {
 public:
  static constexpr const char* kNetworkClass = "/sys/class/net";

  /// The loop must outlive the targets.
  explicit LinuxReachability(sd_event* event, std::string directory = kNetworkClass)
      : event_(event), directory_(std::move(directory)) {}

  std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress& address) override;

 private:
  sd_event* event_;
  std::string directory_;
};

}  // namespace zorva

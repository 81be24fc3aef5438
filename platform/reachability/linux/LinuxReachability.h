#pragma once

#include <string>
#include <systemd/sd-event.h>

#include "platform/reachability/Reachability.h"

namespace zorva {

/// Whether there is a way to the network at large, as the kernel's routes and links tell it:
/// reachable with an IPv4 default route over a link that is up, over the wide area when that is a
/// mobile interface. docs/linux-connectivity.md says more. The address of a target is not looked
/// at: each is watched as the any-address would be.
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-event.h>

#include "platform/wifi/WiFiManager.h"

namespace zorva {

/// The kernel's first wireless interface in station mode, through nl80211. Without one the client
/// has no devices; an interface that appears later is attached. docs/linux-connectivity.md gives
/// the source of each figure. Everything is read at the time of the call; if the kernel does not
/// reply in time (platform/kit/netlink/NetlinkSocket.h has the limit), its last reply is used.
class LinuxWiFiManager : public WiFiManager {
 public:
  /// The event loop must outlive the clients.
  explicit LinuxWiFiManager(sd_event* event) : event_(event) {}

  std::shared_ptr<WiFiManagerClient> createClient() override;

 private:
  sd_event* event_;
};

}  // namespace zorva

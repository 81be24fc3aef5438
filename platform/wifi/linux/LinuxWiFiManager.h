// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-event.h>

#include "platform/wifi/WiFiManager.h"

namespace zorva {

/// The kernel's first wireless interface in station mode, through nl80211. A machine without has a
/// client with no devices, and one that appears later is attached. docs/linux-connectivity.md says
/// what each answer comes from. Everything is read at the moment of the call; if the kernel does
/// not answer then (platform/kit/netlink/NetlinkSocket.h has the limit), its last answer holds.
class LinuxWiFiManager : public WiFiManager {
 public:
  /// The loop must outlive the clients.
  explicit LinuxWiFiManager(sd_event* event) : event_(event) {}

  std::shared_ptr<WiFiManagerClient> createClient() override;

 private:
  sd_event* event_;
};

}  // namespace zorva

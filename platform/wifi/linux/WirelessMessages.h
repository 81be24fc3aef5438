// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <optional>
#include <string>

namespace zorva {

/// An interface as nl80211 describes it.
struct WirelessInterface {
  std::uint32_t index = 0;
  std::uint32_t wiphy = 0;
  std::uint32_t type = 0;  ///< NL80211_IFTYPE_
  std::string name;
  std::optional<std::string> ssid;  ///< any bytes, at most 32; only while there is a network
};

// What an answer of nl80211's says; nothing when it is another message, cut off, or lacks what it
// must have.
std::optional<WirelessInterface> wirelessInterfaceIn(const nlmsghdr& message);
/// Whether the wiphy's description names a trigger that can wake the device. A description may come
/// in several messages, of which one says so.
bool wakesOnWireless(const nlmsghdr& message);
/// Whether at least one trigger is set.
bool wakeOnWirelessIsSet(const nlmsghdr& message);

}  // namespace zorva

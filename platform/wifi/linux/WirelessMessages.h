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

// The interface in an nl80211 reply; nothing if it is another message, truncated, or lacks a
// required attribute.
std::optional<WirelessInterface> wirelessInterfaceIn(const nlmsghdr& message);
/// Whether the description of a wiphy contains a trigger that can wake the device. A description
/// may be divided into several messages, one of which contains it.
bool wakesOnWireless(const nlmsghdr& message);
/// Whether at least one trigger is set.
bool wakeOnWirelessIsSet(const nlmsghdr& message);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/wifi/linux/WirelessMessages.h"

#include <linux/nl80211.h>

#include "platform/kit/netlink/GenericNetlink.h"

namespace zorva {
namespace {

/// The attributes of the command's message.
std::optional<NetlinkAttributes> attributesOf(const nlmsghdr& message, std::uint8_t command) {
  const auto generic = genericMessageIn(message);
  if (!generic || generic->command != command) return std::nullopt;
  return generic->attributes;
}

/// Whether the attribute contains attributes.
bool holdsAny(const nlmsghdr& message, std::uint8_t command, int type) {
  const auto attributes = attributesOf(message, command);
  const auto content = attributes ? attributes->find(type) : std::nullopt;
  return content && content->size() >= NLA_HDRLEN;
}

}  // namespace

std::optional<WirelessInterface> wirelessInterfaceIn(const nlmsghdr& message) {
  const auto attributes = attributesOf(message, NL80211_CMD_NEW_INTERFACE);
  if (!attributes) return std::nullopt;
  const auto index = attributes->number(NL80211_ATTR_IFINDEX);
  const auto wiphy = attributes->number(NL80211_ATTR_WIPHY);
  const auto type = attributes->number(NL80211_ATTR_IFTYPE);
  const auto name = attributes->text(NL80211_ATTR_IFNAME);
  if (!index || !wiphy || !type || !name) return std::nullopt;  // no network interface
  WirelessInterface interface {
    *index, *wiphy, *type, *name, {}
  };
  const auto ssid = attributes->find(NL80211_ATTR_SSID);
  if (ssid && !ssid->empty() && ssid->size() <= 32) {
    interface.ssid.emplace(ssid->begin(), ssid->end());
  }
  return interface;
}

bool wakesOnWireless(const nlmsghdr& message) {
  return holdsAny(message, NL80211_CMD_NEW_WIPHY, NL80211_ATTR_WOWLAN_TRIGGERS_SUPPORTED);
}

bool wakeOnWirelessIsSet(const nlmsghdr& message) {
  return holdsAny(message, NL80211_CMD_GET_WOWLAN, NL80211_ATTR_WOWLAN_TRIGGERS);
}

}  // namespace zorva

#include "platform/linux/WirelessMessages.h"

#include <array>
#include <cstring>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

namespace zorva {
namespace {

using Attributes = std::array<nlattr*, NL80211_ATTR_MAX + 1>;

/// The attributes of the command's message.
std::optional<Attributes> attributesOf(const nlmsghdr& message, std::uint8_t command) {
  auto* header = const_cast<nlmsghdr*>(&message);  // the library only reads
  Attributes attributes{};
  if (!genlmsg_valid_hdr(header, 0)) return std::nullopt;
  const genlmsghdr* generic = genlmsg_hdr(header);
  if (generic->cmd != command ||
      nla_parse(attributes.data(), NL80211_ATTR_MAX, genlmsg_attrdata(generic, 0),
                genlmsg_attrlen(generic, 0), nullptr) < 0) {
    return std::nullopt;
  }
  return attributes;
}

std::optional<std::uint32_t> numberIn(const nlattr* attribute) {
  if (attribute == nullptr || nla_len(attribute) < 4) return std::nullopt;
  return nla_get_u32(attribute);
}

bool holdsAny(const nlattr* attribute) {
  return attribute != nullptr && nla_len(attribute) >= NLA_HDRLEN;
}

}  // namespace

std::optional<WirelessInterface> wirelessInterfaceIn(const nlmsghdr& message) {
  const auto attributes = attributesOf(message, NL80211_CMD_NEW_INTERFACE);
  if (!attributes) return std::nullopt;
  const auto index = numberIn((*attributes)[NL80211_ATTR_IFINDEX]);
  const auto wiphy = numberIn((*attributes)[NL80211_ATTR_WIPHY]);
  const auto type = numberIn((*attributes)[NL80211_ATTR_IFTYPE]);
  const nlattr* const name = (*attributes)[NL80211_ATTR_IFNAME];
  if (!index || !wiphy || !type || name == nullptr) return std::nullopt;  // no network interface
  WirelessInterface interface {
    *index, *wiphy, *type, {}, {}
  };
  const auto* text = static_cast<const char*>(nla_data(name));
  interface.name.assign(text, ::strnlen(text, static_cast<std::size_t>(nla_len(name))));
  if (const nlattr* ssid = (*attributes)[NL80211_ATTR_SSID];
      ssid && nla_len(ssid) > 0 && nla_len(ssid) <= 32) {
    interface.ssid.emplace(static_cast<const char*>(nla_data(ssid)),
                           static_cast<std::size_t>(nla_len(ssid)));
  }
  return interface;
}

bool wakesOnWireless(const nlmsghdr& message) {
  const auto attributes = attributesOf(message, NL80211_CMD_NEW_WIPHY);
  return attributes && holdsAny((*attributes)[NL80211_ATTR_WOWLAN_TRIGGERS_SUPPORTED]);
}

bool wakeOnWirelessIsSet(const nlmsghdr& message) {
  const auto attributes = attributesOf(message, NL80211_CMD_GET_WOWLAN);
  return attributes && holdsAny((*attributes)[NL80211_ATTR_WOWLAN_TRIGGERS]);
}

std::optional<WirelessFamily> wirelessFamilyIn(const nlmsghdr& message) {
  auto* header = const_cast<nlmsghdr*>(&message);
  if (!genlmsg_valid_hdr(header, 0)) return std::nullopt;
  const genlmsghdr* generic = genlmsg_hdr(header);
  std::array<nlattr*, CTRL_ATTR_MAX + 1> attributes{};
  if (generic->cmd != CTRL_CMD_NEWFAMILY ||
      nla_parse(attributes.data(), CTRL_ATTR_MAX, genlmsg_attrdata(generic, 0),
                genlmsg_attrlen(generic, 0), nullptr) < 0) {
    return std::nullopt;
  }
  const nlattr* const id = attributes[CTRL_ATTR_FAMILY_ID];
  if (id == nullptr || nla_len(id) < 2) return std::nullopt;
  WirelessFamily family{nla_get_u16(id), {}};
  const nlattr* const groups = attributes[CTRL_ATTR_MCAST_GROUPS];
  if (groups == nullptr) return family;
  int left = nla_len(groups);
  for (auto* at = static_cast<nlattr*>(nla_data(groups)); nla_ok(at, left);
       at = nla_next(at, &left)) {
    std::array<nlattr*, CTRL_ATTR_MCAST_GRP_MAX + 1> group{};
    if (nla_parse_nested(group.data(), CTRL_ATTR_MCAST_GRP_MAX, at, nullptr) < 0) continue;
    const nlattr* const name = group[CTRL_ATTR_MCAST_GRP_NAME];
    const auto number = numberIn(group[CTRL_ATTR_MCAST_GRP_ID]);
    if (name == nullptr || !number) continue;
    if (nla_strcmp(name, NL80211_MULTICAST_GROUP_CONFIG) == 0 ||
        nla_strcmp(name, NL80211_MULTICAST_GROUP_MLME) == 0) {
      family.groups.push_back(*number);
    }
  }
  return family;
}

}  // namespace zorva

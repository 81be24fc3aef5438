// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/netlink/GenericNetlink.h"

#include <cstring>
#include <linux/genetlink.h>

#include "platform/kit/netlink/NetlinkSocket.h"

namespace zorva {

std::optional<GenericMessage> genericMessageIn(const nlmsghdr& message) {
  const auto attributes = attributesAfter(message, sizeof(genlmsghdr));
  if (!attributes) return std::nullopt;
  return GenericMessage{static_cast<const genlmsghdr*>(NLMSG_DATA(&message))->cmd, *attributes};
}

std::optional<GenericFamily> genericFamilyIn(const nlmsghdr& message) {
  const auto generic = genericMessageIn(message);
  if (!generic || generic->command != CTRL_CMD_NEWFAMILY) return std::nullopt;
  const auto id = generic->attributes.find(CTRL_ATTR_FAMILY_ID);
  GenericFamily family;
  if (!id || id->size() < sizeof family.id) return std::nullopt;
  std::memcpy(&family.id, id->data(), sizeof family.id);
  const auto groups = generic->attributes.find(CTRL_ATTR_MCAST_GROUPS);
  NetlinkAttributes(groups.value_or(NetlinkAttributes::Content{}))
      .each([&](int, NetlinkAttributes::Content content) {
        const NetlinkAttributes group(content);
        const auto name = group.text(CTRL_ATTR_MCAST_GRP_NAME);
        const auto number = group.number(CTRL_ATTR_MCAST_GRP_ID);
        if (name && number) family.groups[*name] = *number;
      });
  return family;
}

NetlinkAnswer findGenericFamily(const std::string& name, std::optional<GenericFamily>& family) {
  family.reset();
  return GenericRequest(GENL_ID_CTRL, NLM_F_ACK, CTRL_CMD_GETFAMILY)
      .with(CTRL_ATTR_FAMILY_NAME, name.c_str(), name.size() + 1)
      .send([&](const nlmsghdr& message) {
        if (auto found = genericFamilyIn(message)) family = std::move(found);
      });
}

GenericRequest::GenericRequest(std::uint16_t family, std::uint16_t flags, std::uint8_t command) {
  nlmsghdr header{};
  header.nlmsg_type = family;
  header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
  genlmsghdr generic{};
  generic.cmd = command;
  generic.version = 1;
  append(&header, sizeof header);
  append(&generic, sizeof generic);
}

GenericRequest& GenericRequest::with(std::uint16_t type, const void* value, std::size_t size) {
  const nlattr header{static_cast<std::uint16_t>(NLA_HDRLEN + size), type};
  append(&header, sizeof header);
  append(value, size);
  bytes_.resize(NLMSG_ALIGN(bytes_.size()));
  return *this;
}

NetlinkAnswer GenericRequest::send(const NetlinkReader::Each& each,
                                   const std::function<void()>& again) {
  return NetlinkSocket(NETLINK_GENERIC).request(bytes_, each, again);
}

void GenericRequest::append(const void* value, std::size_t size) {
  const auto* first = static_cast<const std::uint8_t*>(value);
  bytes_.insert(bytes_.end(), first, first + size);
}

}  // namespace zorva

#include "platform/kit/netlink/GenericNetlink.h"

#include <algorithm>
#include <cstring>
#include <linux/genetlink.h>
#include <sys/socket.h>

#include "platform/kit/netlink/NetlinkRequest.h"

namespace zorva {

void NetlinkAttributes::each(const std::function<void(int type, Content content)>& each) const {
  for (Content rest = bytes_; rest.size() >= sizeof(nlattr);) {
    nlattr header;
    std::memcpy(&header, rest.data(), sizeof header);
    if (header.nla_len < sizeof header || header.nla_len > rest.size()) return;
    each(header.nla_type & NLA_TYPE_MASK,
         rest.subspan(NLA_HDRLEN, static_cast<std::size_t>(header.nla_len - NLA_HDRLEN)));
    // The last one need not be padded.
    rest = rest.subspan(std::min<std::size_t>(NLA_ALIGN(header.nla_len), rest.size()));
  }
}

std::optional<NetlinkAttributes::Content> NetlinkAttributes::find(int type) const {
  std::optional<Content> found;
  each([&](int other, Content content) {
    if (other == type) found = content;
  });
  return found;
}

std::optional<std::uint32_t> NetlinkAttributes::number(int type) const {
  const auto content = find(type);
  std::uint32_t number = 0;
  if (!content || content->size() < sizeof number) return std::nullopt;
  std::memcpy(&number, content->data(), sizeof number);
  return number;
}

std::optional<std::string> NetlinkAttributes::text(int type) const {
  const auto content = find(type);
  if (!content) return std::nullopt;
  return std::string(content->begin(), std::find(content->begin(), content->end(), 0));
}

std::optional<GenericMessage> genericMessageIn(const nlmsghdr& message) {
  if (message.nlmsg_len < NLMSG_LENGTH(GENL_HDRLEN)) return std::nullopt;
  const auto* generic = static_cast<const genlmsghdr*>(NLMSG_DATA(&message));
  const auto* first = static_cast<const std::uint8_t*>(NLMSG_DATA(&message)) + GENL_HDRLEN;
  return GenericMessage{generic->cmd, NetlinkAttributes({first, NLMSG_PAYLOAD(&message, 0) -
                                                                    std::size_t{GENL_HDRLEN}})};
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

std::optional<GenericFamily> findGenericFamily(const std::string& name) {
  std::optional<GenericFamily> family;
  GenericRequest(GENL_ID_CTRL, NLM_F_ACK, CTRL_CMD_GETFAMILY)
      .with(CTRL_ATTR_FAMILY_NAME, name.c_str(), name.size() + 1)
      .send([&](const nlmsghdr& message) {
        if (auto found = genericFamilyIn(message)) family = std::move(found);
      });
  return family;
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

bool GenericRequest::send(const std::function<void(const nlmsghdr& message)>& each) {
  const auto length = static_cast<std::uint32_t>(bytes_.size());
  std::memcpy(bytes_.data(), &length, sizeof length);  // the header's first field
  return netlinkRequest(NETLINK_GENERIC, bytes_, each);
}

void GenericRequest::append(const void* value, std::size_t size) {
  const auto* first = static_cast<const std::uint8_t*>(value);
  bytes_.insert(bytes_.end(), first, first + size);
}

Descriptor openNetlink(int protocol, const std::vector<std::uint32_t>& groups) {
  Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  if (!socket || ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  for (const std::uint32_t group : groups) {
    ::setsockopt(socket.get(), SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group);
  }
  return socket;
}

}  // namespace zorva

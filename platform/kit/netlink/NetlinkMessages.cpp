// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/netlink/NetlinkMessages.h"

#include <algorithm>
#include <cstring>

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

std::optional<NetlinkAttributes> attributesAfter(const nlmsghdr& message, std::size_t header) {
  const std::size_t before = NLMSG_HDRLEN + NLMSG_ALIGN(header);
  if (message.nlmsg_len < NLMSG_HDRLEN + header) return std::nullopt;
  const auto* first = reinterpret_cast<const std::uint8_t*>(&message);
  return NetlinkAttributes(NetlinkAttributes::Content(first, message.nlmsg_len)
                               .subspan(std::min<std::size_t>(before, message.nlmsg_len)));
}

NetlinkAnswer NetlinkReader::read(std::span<const std::uint8_t> datagram, const Each& each) {
  while (!datagram.empty()) {
    const auto* message = reinterpret_cast<const nlmsghdr*>(datagram.data());
    if (datagram.size() < sizeof *message || message->nlmsg_len < sizeof *message ||
        message->nlmsg_len > datagram.size()) {
      return NetlinkAnswer::Refused;
    }
    // The last one need not be padded.
    datagram =
        datagram.subspan(std::min<std::size_t>(NLMSG_ALIGN(message->nlmsg_len), datagram.size()));
    if (sequence_ != 0 && message->nlmsg_seq != sequence_) continue;
    interrupted_ |= (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    // A dump, too, may end with an error.
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
      std::int32_t error = message->nlmsg_type == NLMSG_DONE ? 0 : -1;
      if (message->nlmsg_len >= NLMSG_LENGTH(sizeof error)) {
        std::memcpy(&error, NLMSG_DATA(message), sizeof error);
      }
      if (error < 0) return NetlinkAnswer::Refused;
      return interrupted_ ? NetlinkAnswer::Interrupted : NetlinkAnswer::Done;
    }
    if (message->nlmsg_type >= NLMSG_MIN_TYPE) each(*message);
  }
  return NetlinkAnswer::Incomplete;
}

}  // namespace zorva

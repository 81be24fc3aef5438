#include "platform/reachability/linux/RouteMessages.h"

#include <cstring>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <span>
#include <utility>

#include "platform/kit/netlink/GenericNetlink.h"

namespace zorva {
namespace {

// What follows the header of the message's kind.
NetlinkAttributes attributesBehind(const nlmsghdr& message, std::size_t header) {
  const auto* first = static_cast<const std::uint8_t*>(NLMSG_DATA(&message));
  return NetlinkAttributes({first + header, NLMSG_PAYLOAD(&message, header)});
}

template <typename Number>
Number numberIn(std::span<const std::uint8_t> bytes) {
  Number number{};
  if (bytes.size() >= sizeof number) std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

}  // namespace

void readLink(const nlmsghdr& message, std::map<int, NetworkLink>& links) {
  if (message.nlmsg_type != RTM_NEWLINK || message.nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg))) {
    return;
  }
  const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
  NetworkLink link;
  link.type = info->ifi_type;
  link.up = (info->ifi_flags & IFF_UP) != 0 && (info->ifi_flags & IFF_RUNNING) != 0;
  link.name = attributesBehind(message, sizeof *info).text(IFLA_IFNAME).value_or("");
  links[info->ifi_index] = std::move(link);
}

void readDefaultWays(const nlmsghdr& message, std::vector<DefaultWay>& ways) {
  if (message.nlmsg_type != RTM_NEWROUTE || message.nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg))) return;
  const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(&message));
  if (route->rtm_family != AF_INET || route->rtm_dst_len != 0 || route->rtm_src_len != 0 ||
      route->rtm_type != RTN_UNICAST || (route->rtm_flags & RTM_F_CLONED) != 0) {
    return;
  }
  DefaultWay way{route->rtm_table != RT_TABLE_MAIN, 0, 0};
  std::vector<int> links;
  if ((route->rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) return;
  attributesBehind(message, sizeof *route).each([&](int type, auto bytes) {
    if (type == RTA_OIF) links.push_back(numberIn<int>(bytes));
    if (type == RTA_PRIORITY) way.metric = numberIn<std::uint32_t>(bytes);
    if (type != RTA_MULTIPATH) return;
    const auto* hop = reinterpret_cast<const rtnexthop*>(bytes.data());
    for (auto left = static_cast<int>(bytes.size());
         left >= static_cast<int>(sizeof *hop) && RTNH_OK(hop, left);) {
      if ((hop->rtnh_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) == 0) {
        links.push_back(hop->rtnh_ifindex);
      }
      left -= static_cast<int>(RTNH_ALIGN(hop->rtnh_len));
      hop = RTNH_NEXT(hop);
    }
  });
  for (const int link : links) {
    way.link = link;
    ways.push_back(way);
  }
}

}  // namespace zorva

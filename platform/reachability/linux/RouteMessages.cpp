// SPDX-License-Identifier: Apache-2.0
#include "platform/reachability/linux/RouteMessages.h"

#include <cstring>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <span>
#include <utility>

#include "platform/kit/netlink/NetlinkMessages.h"

namespace zorva {
namespace {

template <typename Number>
Number numberIn(std::span<const std::uint8_t> bytes) {
  Number number{};
  if (bytes.size() >= sizeof number) std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

// The route that the message describes, with its attributes; nothing if it describes none.
struct Route {
  const rtmsg* header;
  NetlinkAttributes attributes;
};
std::optional<Route> routeIn(const nlmsghdr& message) {
  const auto attributes = attributesAfter(message, sizeof(rtmsg));
  if (message.nlmsg_type != RTM_NEWROUTE || !attributes) return std::nullopt;
  return Route{static_cast<const rtmsg*>(NLMSG_DATA(&message)), *attributes};
}

}  // namespace

void readLink(const nlmsghdr& message, std::map<int, NetworkLink>& links) {
  const auto attributes = attributesAfter(message, sizeof(ifinfomsg));
  if (message.nlmsg_type != RTM_NEWLINK || !attributes) return;
  const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
  NetworkLink link;
  link.type = info->ifi_type;
  link.up = (info->ifi_flags & IFF_UP) != 0 && (info->ifi_flags & IFF_RUNNING) != 0;
  link.name = attributes->text(IFLA_IFNAME).value_or("");
  link.lower = attributes->find(IFLA_LINK_NETNSID)
                   ? NetworkLink::kElsewhere
                   : static_cast<int>(attributes->number(IFLA_LINK).value_or(0));
  links[info->ifi_index] = std::move(link);
}

void readCarrierRoutes(const nlmsghdr& message, std::vector<CarrierRoute>& routes) {
  const auto found = routeIn(message);
  if (!found) return;
  const rtmsg& route = *found->header;
  const bool hostRoute = route.rtm_dst_len == (route.rtm_family == AF_INET6 ? 128 : 32) &&
                         found->attributes.find(RTA_GATEWAY);
  if ((route.rtm_dst_len != 0 && !hostRoute) || route.rtm_src_len != 0 ||
      route.rtm_type != RTN_UNICAST || (route.rtm_flags & RTM_F_CLONED) != 0 ||
      (route.rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) {
    return;
  }
  CarrierRoute candidate{hostRoute, route.rtm_table != RT_TABLE_MAIN, 0, 0};
  std::vector<int> links;
  found->attributes.each([&](int type, auto bytes) {
    if (type == RTA_OIF) links.push_back(numberIn<int>(bytes));
    if (type == RTA_PRIORITY) candidate.metric = numberIn<std::uint32_t>(bytes);
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
    candidate.link = link;
    routes.push_back(candidate);
  }
}

std::optional<int> linkOfLookup(const nlmsghdr& message) {
  const auto route = routeIn(message);
  if (!route || route->header->rtm_type != RTN_UNICAST) return std::nullopt;
  const auto link = route->attributes.number(RTA_OIF);
  return link ? std::optional(static_cast<int>(*link)) : std::nullopt;
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/reachability/linux/LinuxReachability.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/netlink/NetlinkSocket.h"
#include "platform/reachability/linux/RouteMessages.h"

namespace zorva {
namespace {

// Addresses of root name servers: public, and unchanged for decades. A route lookup sends nothing.
constexpr std::uint8_t kPublicIPv4[] = {198, 41, 0, 4};
constexpr std::uint8_t kPublicIPv6[] = {0x20, 0x01, 0x05, 0x03, 0xba, 0x3e, 0, 0,
                                        0,    0,    0,    0,    0,    0x02, 0, 0x30};

// The maximum depth of stacked links.
constexpr int kMaxStacked = 8;

template <typename Header>
std::vector<std::uint8_t> requestOf(std::uint16_t type, std::uint16_t flags, const Header& header) {
  std::vector<std::uint8_t> request(NLMSG_LENGTH(sizeof header));
  nlmsghdr message{};
  message.nlmsg_type = type;
  message.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
  std::memcpy(request.data(), &message, sizeof message);
  std::memcpy(request.data() + NLMSG_HDRLEN, &header, sizeof header);
  return request;
}

bool startsWithOneOf(const std::string& name, std::initializer_list<const char*> beginnings) {
  for (const char* beginning : beginnings) {
    if (name.rfind(beginning, 0) == 0) return true;
  }
  return false;
}

bool isMobile(const NetworkLink& link, const std::string& directory) {
  if (link.type == ARPHRD_RAWIP || startsWithOneOf(link.name, {"wwan", "rmnet", "ccmni"})) {
    return true;
  }
  const auto event = readAttribute(directory + "/" + link.name + "/uevent");
  return event && ("\n" + *event + "\n").find("\nDEVTYPE=wwan\n") != std::string::npos;
}

// The kernel's current routing.
class Routing {
 public:
  explicit Routing(const std::string& directory) : directory_(directory) {}

  /// Returns false if the kernel does not reply.
  bool readLinks() {
    auto request = requestOf(RTM_GETLINK, NLM_F_DUMP, ifinfomsg{});
    const auto read = [&](const nlmsghdr& each) { readLink(each, links_); };
    const NetlinkAnswer answer = socket_.request(request, read, [&] { links_.clear(); });
    // If the list was interrupted again, only a few links can be missing.
    return answer == NetlinkAnswer::Done || answer == NetlinkAnswer::Interrupted;
  }

  /// The link over which the kernel would send to the address, if it is up.
  std::optional<int> linkTo(std::uint8_t family, std::span<const std::uint8_t> address) {
    rtmsg header{};
    header.rtm_family = family;
    header.rtm_dst_len = static_cast<std::uint8_t>(address.size() * 8);
    auto request = requestOf(RTM_GETROUTE, NLM_F_ACK, header);
    const nlattr destination{static_cast<std::uint16_t>(NLA_HDRLEN + address.size()), RTA_DST};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&destination);
    request.insert(request.end(), bytes, bytes + sizeof destination);
    request.insert(request.end(), address.begin(), address.end());
    std::optional<int> link;
    socket_.request(request, [&](const nlmsghdr& each) {
      if (const auto found = linkOfLookup(each)) link = found;
    });
    return link && links_[*link].up ? link : std::nullopt;
  }

  /// Whether packets sent over the link leave the device through a mobile interface.
  bool goesOverMobile(int link, std::uint8_t family) {
    const auto carrier = isTunnel(link) ? carrierOf(link, family) : link;
    return carrier && usesMobile(*carrier);
  }

 private:
  std::string pathOf(int link) { return directory_ + "/" + links_[link].name; }

  // The lower links: the ports of a bridge, bond or team, the link below a VLAN.
  std::vector<int> lowerLinksOf(int link) {
    std::vector<int> lowers;
    for (const std::string& entry : entryNames(pathOf(link))) {
      for (const auto& [index, other] : links_) {
        if (entry == "lower_" + other.name) lowers.push_back(index);
      }
    }
    if (lowers.empty() && links_[link].lower != 0) lowers.push_back(links_[link].lower);
    return lowers;
  }

  bool usesMobile(int link, int depth = 0) {
    if (depth == kMaxStacked || !links_.contains(link)) return false;
    if (isMobile(links_[link], directory_)) return true;
    const auto lowers = lowerLinksOf(link);
    return std::any_of(lowers.begin(), lowers.end(),
                       [&](int lower) { return usesMobile(lower, depth + 1); });
  }

  // The kernel reports no carrier for a tunnel.
  bool isTunnel(int link) {
    return !isMobile(links_[link], directory_) &&
           !std::filesystem::exists(pathOf(link) + "/device") && lowerLinksOf(link).empty();
  }

  // A VPN's packets use the route that existed before it: the best default route, otherwise a route
  // to a single host, its server, over a link that is not a tunnel itself.
  std::optional<int> carrierOf(int tunnel, std::uint8_t family) {
    std::vector<CarrierRoute> routes;
    for (const std::uint8_t asked :
         {family, std::uint8_t(family == AF_INET ? AF_INET6 : AF_INET)}) {
      const std::size_t before = routes.size();
      rtmsg header{};
      header.rtm_family = asked;
      auto request = requestOf(RTM_GETROUTE, NLM_F_DUMP, header);
      const auto read = [&](const nlmsghdr& each) { readCarrierRoutes(each, routes); };
      socket_.request(request, read, [&] { routes.resize(before); });
    }
    const CarrierRoute* best = nullptr;
    for (const CarrierRoute& route : routes) {
      if (route.link == tunnel || isTunnel(route.link) || !links_[route.link].up) continue;
      if (best == nullptr || route < *best) best = &route;
    }
    return best != nullptr ? std::optional(best->link) : std::nullopt;
  }

  const std::string& directory_;
  NetlinkSocket socket_{NETLINK_ROUTE};
  std::map<int, NetworkLink> links_;
};

std::optional<std::uint32_t> readFlags(const std::string& directory) {
  Routing routing(directory);
  if (!routing.readLinks()) return std::nullopt;
  const std::pair<std::uint8_t, std::span<const std::uint8_t>> families[] = {
      {AF_INET, kPublicIPv4}, {AF_INET6, kPublicIPv6}};
  for (const auto& [family, address] : families) {
    if (const auto link = routing.linkTo(family, address)) {
      return reachability::kReachable |
             (routing.goesOverMobile(*link, family) ? reachability::kIsWWAN : 0);
    }
  }
  return 0;
}

class Target : public ReachabilityTarget {
 public:
  Target(sd_event* event, std::string directory)
      : event_(event), directory_(std::move(directory)), changed_(event, [this] { compare(); }) {}

  bool setCallback(std::function<void(std::uint32_t)> changed) override {
    callback_ = std::move(changed);
    socket_ = openNetlink(NETLINK_ROUTE, {RTNLGRP_LINK, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV6_ROUTE,
                                          RTNLGRP_IPV4_RULE, RTNLGRP_IPV6_RULE});
    if (!socket_) return false;
    reported_ = flags();  // after the socket is subscribed, so that no change is missed
    return true;
  }

  Registration schedule() override {
    if (!socket_) return {};
    const auto ready = [](sd_event_source*, int, std::uint32_t, void* self) {
      static_cast<Target*>(self)->receive();
      return 0;
    };
    sd_event_source* source = nullptr;
    sd_event_add_io(event_, &source, socket_.get(), EPOLLIN, ready, this);
    readable_.reset(source);
    return Registration([this] { readable_.reset(); });
  }

  std::optional<std::uint32_t> flags() override { return readFlags(directory_); }

 private:
  /// The contents of the messages do not matter: any of them, even a lost one, may mean a change of
  /// the flags.
  void receive() {
    std::array<std::uint8_t, 1> rest;
    for (;;) {
      const ssize_t length = ::recv(socket_.get(), rest.data(), rest.size(), MSG_DONTWAIT);
      if (length >= 0 || errno == EINTR || errno == ENOBUFS) continue;
      if (errno != EAGAIN) readable_.reset();  // or the loop would wake forever
      break;
    }
    changed_.request();
  }

  void compare() {
    const auto now = flags();
    if (!readable_ || !now || now == std::exchange(reported_, now)) return;
    const auto callback = callback_;  // the callback may destroy this object
    callback(*now);
  }

  sd_event* event_;
  std::string directory_;
  std::function<void(std::uint32_t)> callback_;
  Descriptor socket_;
  EventSource readable_;  // destroyed before its socket
  std::optional<std::uint32_t> reported_;
  CoalescedCall changed_;
};

}  // namespace

std::unique_ptr<ReachabilityTarget> LinuxReachability::createTarget(const IPv4SocketAddress&) {
  return std::make_unique<Target>(event_, directory_);
}

}  // namespace zorva

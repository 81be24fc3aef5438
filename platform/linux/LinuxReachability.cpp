#include "platform/linux/LinuxReachability.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/linux/EventSources.h"
#include "platform/linux/NetlinkRequest.h"
#include "platform/linux/SysfsAttributes.h"
#include "platform/support/Descriptor.h"

namespace zorva {
namespace {

struct Link {
  std::string name;
  unsigned type = 0;
  bool up = false;
};

/// A way that a default route offers; the least is the one that is taken.
struct Way {
  bool otherTable;
  std::uint32_t metric;
  int link;
  auto operator<=>(const Way&) const = default;
};

template <typename Each>
void eachAttribute(const rtattr* attribute, std::size_t size, const Each& each) {
  auto length = static_cast<unsigned>(size);
  for (; RTA_OK(attribute, length); attribute = RTA_NEXT(attribute, length)) {
    each(attribute->rta_type,
         std::span(static_cast<const std::uint8_t*>(RTA_DATA(attribute)), RTA_PAYLOAD(attribute)));
  }
}

template <typename Number>
Number numberIn(std::span<const std::uint8_t> bytes) {
  Number number{};
  if (bytes.size() >= sizeof number) std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

void addLink(const nlmsghdr& message, std::map<int, Link>& links) {
  if (message.nlmsg_type != RTM_NEWLINK || message.nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg))) {
    return;
  }
  const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
  Link link;
  link.type = info->ifi_type;
  link.up = (info->ifi_flags & IFF_UP) != 0 && (info->ifi_flags & IFF_RUNNING) != 0;
  eachAttribute(IFLA_RTA(info), IFLA_PAYLOAD(&message), [&](int type, auto bytes) {
    if (type == IFLA_IFNAME) {
      const auto* text = reinterpret_cast<const char*>(bytes.data());
      link.name.assign(text, ::strnlen(text, bytes.size()));
    }
  });
  links[info->ifi_index] = std::move(link);
}

void addWays(const nlmsghdr& message, std::vector<Way>& ways) {
  if (message.nlmsg_type != RTM_NEWROUTE || message.nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg))) return;
  const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(&message));
  if (route->rtm_family != AF_INET || route->rtm_dst_len != 0 || route->rtm_src_len != 0 ||
      route->rtm_type != RTN_UNICAST || (route->rtm_flags & RTM_F_CLONED) != 0) {
    return;
  }
  Way way{route->rtm_table != RT_TABLE_MAIN, 0, 0};
  std::vector<int> links;
  if ((route->rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) return;
  eachAttribute(RTM_RTA(route), RTM_PAYLOAD(&message), [&](int type, auto bytes) {
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

template <typename Header>
bool dump(std::uint16_t type, Header header, const std::function<void(const nlmsghdr&)>& each) {
  struct {
    nlmsghdr message;
    Header header;
  } request{};
  request.message.nlmsg_len = NLMSG_LENGTH(sizeof header);
  request.message.nlmsg_type = type;
  request.message.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.header = header;
  return netlinkRequest(
      NETLINK_ROUTE, {reinterpret_cast<const std::uint8_t*>(&request), request.message.nlmsg_len},
      each);
}

bool startsWithOneOf(const std::string& name, std::initializer_list<const char*> beginnings) {
  for (const char* beginning : beginnings) {
    if (name.rfind(beginning, 0) == 0) return true;
  }
  return false;
}

bool isMobile(const Link& link, const std::string& directory) {
  if (link.type == ARPHRD_RAWIP || startsWithOneOf(link.name, {"wwan", "rmnet", "ccmni"})) {
    return true;
  }
  const auto event = readAttribute(directory + "/" + link.name + "/uevent");
  return event && ("\n" + *event + "\n").find("\nDEVTYPE=wwan\n") != std::string::npos;
}

std::optional<std::uint32_t> readFlags(const std::string& directory) {
  std::map<int, Link> links;
  std::vector<Way> ways;
  ifinfomsg anyLink{};
  rtmsg ipv4{};
  ipv4.rtm_family = AF_INET;
  if (!dump(RTM_GETLINK, anyLink, [&](const nlmsghdr& each) { addLink(each, links); }) ||
      !dump(RTM_GETROUTE, ipv4, [&](const nlmsghdr& each) { addWays(each, ways); })) {
    return std::nullopt;
  }
  const Way* best = nullptr;
  for (const Way& way : ways) {
    if (links[way.link].up && (best == nullptr || way < *best)) best = &way;
  }
  if (best == nullptr) return 0;
  return reachability::kReachable |
         (isMobile(links[best->link], directory) ? reachability::kIsWWAN : 0);
}

class Target : public ReachabilityTarget {
 public:
  Target(sd_event* event, std::string directory)
      : event_(event), directory_(std::move(directory)), changed_(event, [this] { compare(); }) {}

  bool setCallback(std::function<void(std::uint32_t)> changed) override {
    callback_ = std::move(changed);
    socket_ =
        Descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE;
    if (!socket_ ||
        ::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      return false;
    }
    told_ = flags();  // after the socket hears, so that nothing happens between
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
  /// What the messages say does not matter: any may have changed the flags, also those that were
  /// lost.
  void receive() {
    std::array<std::uint8_t, 1> rest;
    for (;;) {
      const ssize_t length = ::recv(socket_.get(), rest.data(), rest.size(), MSG_DONTWAIT);
      if (length >= 0 || errno == EINTR || errno == ENOBUFS) continue;
      if (errno != EAGAIN) readable_.reset();  // rather than being woken for ever
      break;
    }
    changed_.request();
  }

  void compare() {
    const auto now = flags();
    if (!readable_ || !now || now == std::exchange(told_, now)) return;
    const auto callback = callback_;  // which may destroy this object
    callback(*now);
  }

  sd_event* event_;
  std::string directory_;
  std::function<void(std::uint32_t)> callback_;
  Descriptor socket_;
  EventSource readable_;  // goes before its socket
  std::optional<std::uint32_t> told_;
  CoalescedCall changed_;
};

}  // namespace

std::unique_ptr<ReachabilityTarget> LinuxReachability::createTarget(const IPv4SocketAddress&) {
  return std::make_unique<Target>(event_, directory_);
}

}  // namespace zorva

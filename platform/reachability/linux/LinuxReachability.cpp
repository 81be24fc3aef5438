#include "platform/reachability/linux/LinuxReachability.h"

#include <array>
#include <cerrno>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <map>
#include <optional>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/kit/netlink/NetlinkRequest.h"
#include "platform/reachability/linux/RouteMessages.h"

namespace zorva {
namespace {

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

bool isMobile(const NetworkLink& link, const std::string& directory) {
  if (link.type == ARPHRD_RAWIP || startsWithOneOf(link.name, {"wwan", "rmnet", "ccmni"})) {
    return true;
  }
  const auto event = readAttribute(directory + "/" + link.name + "/uevent");
  return event && ("\n" + *event + "\n").find("\nDEVTYPE=wwan\n") != std::string::npos;
}

std::optional<std::uint32_t> readFlags(const std::string& directory) {
  std::map<int, NetworkLink> links;
  std::vector<DefaultWay> ways;
  ifinfomsg anyLink{};
  rtmsg ipv4{};
  ipv4.rtm_family = AF_INET;
  if (!dump(RTM_GETLINK, anyLink, [&](const nlmsghdr& each) { readLink(each, links); }) ||
      !dump(RTM_GETROUTE, ipv4, [&](const nlmsghdr& each) { readDefaultWays(each, ways); })) {
    return std::nullopt;
  }
  const DefaultWay* best = nullptr;
  for (const DefaultWay& way : ways) {
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
    socket_ = openNetlink(NETLINK_ROUTE, {RTNLGRP_LINK, RTNLGRP_IPV4_ROUTE});
    if (!socket_) return false;
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

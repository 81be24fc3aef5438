// SPDX-License-Identifier: Apache-2.0
#include "platform/wifi/linux/LinuxWiFiManager.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <optional>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/base/Observers.h"
#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/kit/netlink/NetlinkSocket.h"
#include "platform/wifi/linux/WirelessMessages.h"

namespace zorva {
namespace {

bool blockedByRfkill(const std::string& interface) {
  const std::string phy = "/sys/class/net/" + interface + "/phy80211";
  for (const std::string& name : entryNames(phy)) {
    if (name.rfind("rfkill", 0) != 0) continue;
    if (readNumber(phy + "/" + name + "/soft").value_or(0) != 0 ||
        readNumber(phy + "/" + name + "/hard").value_or(0) != 0) {
      return true;
    }
  }
  return false;
}

bool isUp(const std::string& interface) {
  const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request{};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  return socket && ::ioctl(socket.get(), SIOCGIFFLAGS, &request) == 0 &&
         (request.ifr_flags & IFF_UP) != 0;
}

class Device : public WiFiDevice {
 public:
  Device(std::uint16_t family, WirelessInterface found)
      : index(found.index), family_(family), interface_(std::move(found)) {}

  bool powered() override {
    read();
    return isOn();
  }
  std::optional<WiFiNetwork> copyCurrentNetwork() override {
    read();
    return ssid() ? std::optional(WiFiNetwork{ssid()}) : std::nullopt;
  }
  Registration observePower(std::function<void()> changed) override {
    return power_.add(std::move(changed));
  }
  Registration observeLink(std::function<void()> changed) override {
    return link_.add(std::move(changed));
  }

  /// The current state; if the kernel does not reply, the last one that it reported. Nothing if it
  /// is not a station any more.
  const std::optional<WirelessInterface>& interface() {
    read();
    return interface_;
  }

  /// Reports one change, that of the power first, because its observers read both. Does nothing if
  /// the kernel does not reply.
  void compare() {
    if (!read()) return;
    const bool nowPowered = isOn();
    const bool power = nowPowered != std::exchange(poweredBefore_, nowPowered);
    const bool link = ssid() != std::exchange(networkBefore_, ssid());
    if (power) {
      power_.notify();
    } else if (link) {
      link_.notify();
    }
  }

  const std::uint32_t index;

 private:
  /// Returns false if the kernel does not reply.
  bool read() {
    std::optional<WirelessInterface> station;
    GenericRequest request(family_, NLM_F_ACK, NL80211_CMD_GET_INTERFACE);
    request.with(NL80211_ATTR_IFINDEX, index);
    const auto answer = request.send([&](const nlmsghdr& message) {
      // As an access point it has an SSID of its own, and is not associated.
      auto found = wirelessInterfaceIn(message);
      if (found && found->type == NL80211_IFTYPE_STATION) station = std::move(found);
    });
    if (answer == NetlinkAnswer::Incomplete) return false;
    interface_ = std::move(station);
    return true;
  }
  bool isOn() const {
    return interface_ && isUp(interface_->name) && !blockedByRfkill(interface_->name);
  }
  std::optional<std::string> ssid() const { return interface_ ? interface_->ssid : std::nullopt; }

  std::uint16_t family_;
  std::optional<WirelessInterface> interface_;  // as last reported by the kernel
  bool poweredBefore_ = isOn();
  std::optional<std::string> networkBefore_ = ssid();
  Observers<> power_;
  Observers<> link_;
};

class Client : public WiFiManagerClient, public std::enable_shared_from_this<Client> {
 public:
  explicit Client(sd_event* event) : event_(event), changed_(event, [this] { compare(); }) {
    find();
  }

  Registration schedule() override {
    links_ = openNetlink(NETLINK_ROUTE, {RTNLGRP_LINK});
    linksReadable_ = watch(links_);
    // The group of generic netlink's controller, which reports new and removed families.
    families_ = openNetlink(NETLINK_GENERIC, {GENL_ID_CTRL});
    familiesReadable_ = watch(families_);
    listenToWireless();
    return Registration([this] {
      linksReadable_.reset();
      familiesReadable_.reset();
      wirelessReadable_.reset();
    });
  }
  Registration observeAttachment(
      std::function<void(const std::shared_ptr<WiFiDevice>&)> attached) override {
    return attachments_.add(std::move(attached));
  }
  std::optional<std::vector<std::shared_ptr<WiFiDevice>>> copyDevices() override {
    find();
    std::vector<std::shared_ptr<WiFiDevice>> devices;
    if (device_) devices.push_back(device_);
    return devices;
  }
  bool wowCapability() override {
    const auto interface = device_ ? device_->interface() : std::nullopt;
    if (!interface) return false;
    bool found = false;
    GenericRequest(family_->id, NLM_F_DUMP, NL80211_CMD_GET_WIPHY)
        .with(NL80211_ATTR_SPLIT_WIPHY_DUMP)  // without it the description is truncated
        .with(NL80211_ATTR_WIPHY, interface->wiphy)
        .send([&](const nlmsghdr& message) { found = found || wakesOnWireless(message); });
    return found;
  }
  bool wowState() override {
    const auto interface = device_ ? device_->interface() : std::nullopt;
    if (!interface) return false;
    bool set = false;
    GenericRequest(family_->id, NLM_F_ACK, NL80211_CMD_GET_WOWLAN)
        .with(NL80211_ATTR_WIPHY, interface->wiphy)
        .send([&](const nlmsghdr& message) { set = set || wakeOnWirelessIsSet(message); });
    return set;
  }

 private:
  /// Searches for the first station; a known one stays the same object. Returns true if it is
  /// another one than before.
  bool find() {
    // Queried each time: after cfg80211 has been reloaded, its ids differ.
    std::optional<GenericFamily> family;
    if (findGenericFamily(NL80211_GENL_NAME, family) == NetlinkAnswer::Incomplete) return false;
    if (family != family_) {
      family_ = std::move(family);
      wirelessReadable_.reset();
      device_.reset();
    }
    std::optional<WirelessInterface> first;
    if (family_) {
      GenericRequest request(family_->id, NLM_F_DUMP, NL80211_CMD_GET_INTERFACE);
      const auto take = [&](const nlmsghdr& message) {
        auto found = wirelessInterfaceIn(message);
        if (found && found->type == NL80211_IFTYPE_STATION && !first) first = std::move(found);
      };
      const auto answer = request.send(take, [&] { first.reset(); });
      // If the list is incomplete, the device is not assumed to be removed.
      if (answer != NetlinkAnswer::Done && !first) return false;
    }
    if (!first) device_.reset();
    if (!first || (device_ && device_->index == first->index)) return false;
    device_ = std::make_shared<Device>(family_->id, std::move(*first));
    return true;
  }

  EventSource watch(const Descriptor& socket) {
    const auto ready = [](sd_event_source* source, int descriptor, std::uint32_t, void* self) {
      std::array<std::uint8_t, 1> rest;  // any event, even a lost one, may mean any change
      for (;;) {
        const ssize_t length = ::recv(descriptor, rest.data(), rest.size(), MSG_DONTWAIT);
        if (length >= 0 || errno == EINTR || errno == ENOBUFS) continue;
        // Or the loop would wake forever.
        if (errno != EAGAIN) sd_event_source_set_enabled(source, SD_EVENT_OFF);
        break;
      }
      static_cast<Client*>(self)->changed_.request();
      return 0;
    };
    sd_event_source* source = nullptr;
    if (socket) sd_event_add_io(event_, &source, socket.get(), EPOLLIN, ready, this);
    return EventSource(source);
  }

  void listenToWireless() {
    if (!family_ || wirelessReadable_) return;
    // The groups that report interfaces and associations.
    std::vector<std::uint32_t> groups;
    for (const char* name : {NL80211_MULTICAST_GROUP_CONFIG, NL80211_MULTICAST_GROUP_MLME}) {
      const auto found = family_->groups.find(name);
      if (found != family_->groups.end()) groups.push_back(found->second);
    }
    wireless_ = openNetlink(NETLINK_GENERIC, groups);
    wirelessReadable_ = watch(wireless_);
  }

  void compare() {
    if (!linksReadable_ && !wirelessReadable_ && !familiesReadable_) return;
    const auto self = shared_from_this();  // a callback may release this client
    const auto before = device_;
    const bool attached = find();
    listenToWireless();  // cfg80211 may have been loaded with the first device
    if (attached) {
      attachments_.notify(device_);
    } else if (before) {
      before->compare();  // a removed device is off
    }
  }

  sd_event* event_;
  std::optional<GenericFamily> family_;
  std::shared_ptr<Device> device_;
  Observers<const std::shared_ptr<WiFiDevice>&> attachments_;
  Descriptor links_;
  Descriptor wireless_;
  Descriptor families_;
  EventSource linksReadable_;  // these are destroyed before their sockets
  EventSource familiesReadable_;
  EventSource wirelessReadable_;
  CoalescedCall changed_;
};

}  // namespace

std::shared_ptr<WiFiManagerClient> LinuxWiFiManager::createClient() {
  return std::make_shared<Client>(event_);
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
// What the Wi-Fi manager and driver answer where there is no radio, on the simulated handset and in
// a network namespace, which has none.

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <sched.h>

#include "platform/assemble/SimHandset.h"
#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TestLoop.h"
#include "platform/wifi/linux/LinuxWiFiDriver.h"
#include "platform/wifi/linux/LinuxWiFiManager.h"
#include "platform/wifi/linux/WirelessMessages.h"

namespace zorva {
namespace {

struct SimWorld {
  SimHandset handset;
  WiFiManager& manager = handset.wifi();
  WiFiDriver& driver = handset.wifiDriver();
  bool prepare() {
    handset.wifi().setAttached(false);
    return true;
  }
  void deliver() { handset.runLoop().advance(0); }
};
struct LinuxWorld {
  LoopForTest loop;
  LinuxWiFiManager manager{loop.event()};
  LinuxWiFiDriver driver;
  bool prepare() { return unshare(CLONE_NEWNET) == 0; }
  void deliver() { loop.drain(); }
};

template <typename World>
class WiFiContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(WiFiContract, Worlds);

TYPED_TEST(WiFiContract, WithoutARadioNothingIsListedAttachedOrCounted) {
  runInChild([] {
    TypeParam world;
    if (!world.prepare()) return false;
    const auto client = world.manager.createClient();
    if (!client) return ADD_FAILURE(), true;
    int attached = 0;
    const auto attachments = client->observeAttachment([&](const auto&) { ++attached; });
    const auto scheduled = client->schedule();
    const auto devices = client->copyDevices();
    EXPECT_TRUE(devices && devices->empty()) << "none, which is not: not known";
    EXPECT_FALSE(client->wowCapability());
    EXPECT_FALSE(client->wowState());
    world.deliver();
    EXPECT_EQ(attached, 0);

    int socket = -1, other = -1;
    EXPECT_EQ(world.driver.openSocket(socket), 0);
    EXPECT_EQ(world.driver.openSocket(other), 0);
    EXPECT_NE(socket, other);
    const WiFiDriverRequest request{{"none9"}, -1, 262, sizeof(WiFiDriver::Buffer), 0};
    WiFiDriver::Buffer buffer{'p', 'm'};
    const WiFiDriver::Buffer before = buffer;
    EXPECT_NE(world.driver.request(socket, WiFiDriver::kQuery, request, buffer), 0);
    world.driver.closeSocket(socket);
    EXPECT_EQ(world.driver.request(socket, WiFiDriver::kQuery, request, buffer), EBADF);
    EXPECT_NE(world.driver.request(other, WiFiDriver::kReset, request, buffer), EBADF);
    EXPECT_EQ(buffer, before);
    world.driver.closeSocket(other);
    return true;
  });
}

using Bytes = std::vector<std::uint8_t>;

Bytes number(std::uint32_t value) {
  Bytes bytes(4);
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

Bytes text(const std::string& value) {
  return Bytes(value.begin(), value.end());
}

Bytes attributes(const std::vector<std::pair<int, Bytes>>& list) {
  Bytes bytes;
  for (const auto& [type, value] : list) {
    const nlattr header{static_cast<std::uint16_t>(NLA_HDRLEN + value.size()),
                        static_cast<std::uint16_t>(type)};
    const auto* first = reinterpret_cast<const std::uint8_t*>(&header);
    bytes.insert(bytes.end(), first, first + sizeof header);
    bytes.insert(bytes.end(), value.begin(), value.end());
    bytes.resize(NLA_ALIGN(bytes.size()));
  }
  return bytes;
}

/// A message as the kernel sends it.
class Message {
 public:
  Message(std::uint8_t command, const Bytes& payload)
      : bytes_(NLMSG_LENGTH(GENL_HDRLEN) + payload.size()) {
    header().nlmsg_len = static_cast<std::uint32_t>(bytes_.size());
    bytes_[NLMSG_HDRLEN] = command;
    std::copy(payload.begin(), payload.end(), bytes_.begin() + NLMSG_HDRLEN + GENL_HDRLEN);
  }
  nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(bytes_.data()); }

 private:
  Bytes bytes_;
};

TEST(WirelessMessages, AreReadWhateverTheyHold) {
  const std::string ssid("a\n\0\xff", 4);
  const Bytes whole = attributes({{NL80211_ATTR_IFINDEX, number(3)},
                                  {NL80211_ATTR_IFNAME, text("wlan0")},
                                  {NL80211_ATTR_WIPHY, number(1)},
                                  {NL80211_ATTR_IFTYPE, number(NL80211_IFTYPE_STATION)},
                                  {NL80211_ATTR_SSID, text(ssid)}});
  Message interface(NL80211_CMD_NEW_INTERFACE, whole);
  const auto read = wirelessInterfaceIn(interface.header());
  ASSERT_TRUE(read);
  EXPECT_EQ(read->index, 3u);
  EXPECT_EQ(read->wiphy, 1u);
  EXPECT_EQ(read->type, std::uint32_t{NL80211_IFTYPE_STATION});
  EXPECT_EQ(read->name, "wlan0");
  EXPECT_EQ(read->ssid, ssid);
  EXPECT_FALSE(wakesOnWireless(interface.header()));
  EXPECT_FALSE(genericFamilyIn(interface.header()));

  for (const auto& odd : {std::string(), std::string(33, 'x')}) {
    Bytes bytes = whole;
    bytes.resize(bytes.size() - 8);
    const Bytes other = attributes({{NL80211_ATTR_SSID, text(odd)}});
    bytes.insert(bytes.end(), other.begin(), other.end());
    const auto without = wirelessInterfaceIn(Message(NL80211_CMD_NEW_INTERFACE, bytes).header());
    EXPECT_TRUE(without && !without->ssid) << odd.size();
  }

  const Bytes any = attributes({{NL80211_WOWLAN_TRIG_ANY, {}}});
  for (const Bytes& triggers : {any, Bytes{}}) {
    EXPECT_EQ(
        wakesOnWireless(Message(NL80211_CMD_NEW_WIPHY,
                                attributes({{NL80211_ATTR_WOWLAN_TRIGGERS_SUPPORTED, triggers}}))
                            .header()),
        !triggers.empty());
    EXPECT_EQ(wakeOnWirelessIsSet(Message(NL80211_CMD_GET_WOWLAN,
                                          attributes({{NL80211_ATTR_WOWLAN_TRIGGERS, triggers}}))
                                      .header()),
              !triggers.empty());
  }

  const auto group = [](const char* name, std::uint32_t id) {
    return attributes({{CTRL_ATTR_MCAST_GRP_NAME, text(std::string(name) + '\0')},
                       {CTRL_ATTR_MCAST_GRP_ID, number(id)}});
  };
  const auto family = genericFamilyIn(
      Message(CTRL_CMD_NEWFAMILY,
              attributes({{CTRL_ATTR_FAMILY_ID, {0x1c, 0}},
                          {CTRL_ATTR_MCAST_GROUPS, attributes({{1, group("config", 7)},
                                                               {2, group("scan", 8)},
                                                               {3, group("mlme", 9)},
                                                               {4, Bytes(3)}})}}))
          .header());
  ASSERT_TRUE(family);
  EXPECT_EQ(family->id, 0x1c);
  EXPECT_EQ(family->groups,
            (std::map<std::string, std::uint32_t>{{"config", 7}, {"scan", 8}, {"mlme", 9}}));
}

}  // namespace
}  // namespace zorva

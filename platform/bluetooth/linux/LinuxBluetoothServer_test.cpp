// SPDX-License-Identifier: Apache-2.0
#include "platform/bluetooth/linux/LinuxBluetoothServer.h"

#include <gtest/gtest.h>

#include "platform/testing/Bluez.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Server = BluetoothServer;
using Lines = std::vector<std::string>;

class LinuxBluetoothServerTest : public testing::Test {
 protected:
  void attach() {
    EXPECT_EQ(server_.attachSession(
                  "Test",
                  [this](Server::Session session, std::int32_t event, Server::Status result) {
                    session_ = event == Server::kSessionAttached ? session : 0;
                    events_.push_back((event == Server::kSessionAttached ? "attached " : "? ") +
                                      std::to_string(result));
                    if (session_ != 0) register_();
                  },
                  sessionCallbacks_),
              0);
  }
  void register_() {
    Server::Device device = 0;
    const auto found = server_.defaultLocalDevice(session_, device);
    const auto added = server_.addLocalDeviceCallbacks(
        device, [this] { events_.push_back("news"); }, news_);
    server_.registerForPowerUpdates(
        device, [this] { events_.push_back("power"); }, power_);
    events_.back() += ", device " + std::to_string(found) + " " + std::to_string(added);
  }
  // Once what the service sent before its answer has been delivered.
  Lines reported() {
    bus_.call(bluez::kService, "/", "org.freedesktop.DBus.Peer", "Ping");
    loop_.drain();
    return std::exchange(events_, {});
  }
  Lines reportedFrom(std::size_t count) {
    loop_.runUntil([&] { return events_.size() >= count; });
    return reported();
  }
  // Each on (1), off (0) or refused (its status): the modules, then the modes.
  std::string states(Server::Device device = 1) {
    std::string all;
    const auto add = [&](auto ask) {
      std::uint32_t state = 0;
      const Server::Status status = ask(state);
      all += (all.empty() ? "" : " ") +
             std::to_string(status != 0 ? status : (state == Server::kStateOn ? 1 : 0));
    };
    for (const auto module :
         {Server::Module::Controller, Server::Module::Runvo, Server::Module::FM}) {
      add([&](auto& state) { return server_.modulePower(device, module, state); });
    }
    add([&](auto& state) { return server_.discoverable(device, state); });
    add([&](auto& state) { return server_.connectable(device, state); });
    add([&](auto& state) { return server_.connectionStatus(device, state); });
    add([&](auto& state) { return server_.readPowerConsumption(device, state); });
    return all;
  }

  static constexpr const char* kMockInterface = BluezForTest::kMock;
  static constexpr const char* kHci0 = "/org/bluez/hci0";

  BluezForTest bluez_;
  LoopForTest loop_;
  Lines events_;
  LinuxBus bus_{loop_.event(), bluez_.bus.address()};
  LinuxBluetoothServer server_{loop_.event(), bus_};
  Server::Session session_ = 0;
  Registration sessionCallbacks_;
  Registration news_;
  Registration power_;
};

TEST_F(LinuxBluetoothServerTest, AttachesWhenBluezComesAndFollowsItsControllers) {
  attach();
  EXPECT_EQ(reported(), Lines());
  bluez_.bus.start();
  bluez_.start();
  EXPECT_EQ(reportedFrom(1), Lines{"attached 0, device 104 103"});
  EXPECT_EQ(states(), "104 104 104 104 104 104 104");

  bluez_.call("/", kMockInterface, "AddAdapter", "ss", "hci10", "another");
  EXPECT_EQ(reportedFrom(2), (Lines{"power", "news"}));
  bluez_.call("/", kMockInterface, "AddAdapter", "ss", "hci0", "mine");
  EXPECT_EQ(reported(), Lines());  // it looks like the one before
  EXPECT_EQ(states(), "1 0 0 0 1 0 105");
  bluez_.set("/org/bluez/hci10", "Powered", false);
  bluez_.set("/org/bluez/hci10", "Discoverable", true);
  EXPECT_EQ(reported(), Lines());
  bluez_.set(kHci0, "Discoverable", true);
  EXPECT_EQ(reported(), Lines{"news"});
  bluez_.set(kHci0, "Powered", false);
  EXPECT_EQ(reported(), (Lines{"power", "news"}));
  EXPECT_EQ(states(), "0 0 0 1 0 0 105");
  bluez_.set(kHci0, "Powered", true);
  // As a newer BlueZ tells it.
  bluez_.call(kHci0, PrivateBusForTest::kMock, "EmitSignal", "sssav",
              "org.freedesktop.DBus.Properties", "PropertiesChanged", "sa{sv}as", 3, "s",
              bluez::kAdapter, "a{sv}", 1, "Connectable", "b", 0, "as", 0);
  EXPECT_EQ(reportedFrom(2), (Lines{"power", "news"}));
  EXPECT_EQ(states(), "1 0 0 1 0 0 105");

  const std::string device = std::string(kHci0) + "/dev_11_22_33_44_55_66";
  bluez_.call("/", kMockInterface, "AddDevice", "sss", "hci10", "11:22:33:44:55:77", "elsewhere");
  bluez_.call("/org/bluez/hci10/dev_11_22_33_44_55_77", bluez::kDevice, "Connect", "");
  bluez_.call("/", kMockInterface, "AddDevice", "sss", "hci0", "11:22:33:44:55:66", "headset");
  EXPECT_EQ(reported(), Lines());
  bluez_.call(device, bluez::kDevice, "Connect", "");
  EXPECT_EQ(reported(), Lines{"news"});
  EXPECT_EQ(states(), "1 0 0 1 0 1 105");
  bluez_.call(kHci0, bluez::kAdapter, "RemoveDevice", "o", device.c_str());
  EXPECT_EQ(reported(), Lines{"news"});
  bluez_.call("/", kMockInterface, "RemoveAdapter", "s", "hci0");
  EXPECT_EQ(reported(), (Lines{"power", "news"}));
  EXPECT_EQ(states(), "0 0 0 1 0 1 105");  // the other one's
  bluez_.stop();
  EXPECT_EQ(reportedFrom(2), (Lines{"? 0", "news"}));
  EXPECT_EQ(states(), "104 104 104 104 104 104 104");
}

}  // namespace
}  // namespace zorva

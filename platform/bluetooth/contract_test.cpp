// SPDX-License-Identifier: Apache-2.0
// What the Bluetooth server promises, on the simulated handset and with a mocked BlueZ.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/bluetooth/linux/LinuxBluetoothServer.h"
#include "platform/testing/Bluez.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Server = BluetoothServer;
using Lines = std::vector<std::string>;

// Each world has a server with one controller, which is on.
struct SimWorld {
  SimHandset handset;
  SimBluetoothServer& server = handset.bluetooth();
  static std::uint32_t state(bool on) { return on ? Server::kStateOn : 0; }
  void setRunning(bool running) { server.setRunning(running); }
  void setPowered(bool on) { server.setModulePower(Server::Module::Controller, state(on)); }
  void setDiscoverable(bool on) { server.setDiscoverable(state(on)); }
  void connect() { server.setConnectionStatus(Server::kStateOn); }
  void deliver() { handset.runLoop().advance(0); }
  void until(const std::function<bool()>& condition) {
    deliver();
    ASSERT_TRUE(condition());
  }
};
struct LinuxWorld {
  struct Bluez : BluezForTest {
    Bluez() {
      bus.start();
      startWithController();
    }
    void startWithController() {
      start();
      call("/", kMock, "AddAdapter", "ss", "hci0", "mine");
      call("/", kMock, "AddDevice", "sss", "hci0", "11:22:33:44:55:66", "headset");
    }
  };
  void setRunning(bool running) { running ? bluez.startWithController() : bluez.stop(); }
  void setPowered(bool on) { bluez.set("/org/bluez/hci0", "Powered", on); }
  void setDiscoverable(bool on) { bluez.set("/org/bluez/hci0", "Discoverable", on); }
  void connect() {
    bluez.call("/org/bluez/hci0/dev_11_22_33_44_55_66", bluez::kDevice, "Connect", "");
  }
  void deliver() {
    bus.call(bluez::kService, "/", "org.freedesktop.DBus.Peer", "Ping");
    loop.drain();
  }
  void until(const std::function<bool()>& condition) {
    loop.runUntil(condition);
    deliver();
  }

  Bluez bluez;
  LoopForTest loop;
  LinuxBus bus{loop.event(), bluez.bus.address()};
  LinuxBluetoothServer server{loop.event(), bus};
};

template <typename World>
class BluetoothContract : public testing::Test {
 protected:
  Registration attach(const std::string& name = "") {
    Registration callbacks;
    const auto handle = [this, name](Server::Session session, std::int32_t event,
                                     Server::Status result) {
      EXPECT_EQ(result, 0);
      events.push_back(name + (event == Server::kSessionAttached     ? "attached"
                               : event == Server::kSessionTerminated ? "terminated"
                                                                     : "?"));
      if (event == Server::kSessionAttached) attached = session;
    };
    EXPECT_EQ(server.attachSession("Test", handle, callbacks), 0);
    return callbacks;
  }
  Lines next(std::size_t count = 1) {
    world.until([&] { return events.size() >= count; });
    return std::exchange(events, {});
  }
  // Of a device: modules and modes, each on (1), off (0) or refused (its status).
  std::string states(Server::Device device) {
    std::string all;
    for (const auto module :
         {Server::Module::Controller, Server::Module::Runvo, Server::Module::FM}) {
      std::uint32_t state = 7;
      add(all, server.modulePower(device, module, state), state);
    }
    for (const auto ask :
         {&Server::discoverable, &Server::connectable, &Server::connectionStatus}) {
      std::uint32_t state = 7;
      add(all, (server.*ask)(device, state), state);
    }
    return all;
  }
  static void add(std::string& all, Server::Status status, const std::uint32_t& state) {
    EXPECT_TRUE(status == 0 || state == 7) << "a refused question is not answered";
    all += std::to_string(status != 0 ? status : state == Server::kStateOn ? 1 : 0) + " ";
  }

  World world;
  Server& server = world.server;
  Lines events;
  Server::Session attached = 0;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(BluetoothContract, Worlds);

TYPED_TEST(BluetoothContract, SessionsAreAttachedFromTheRunLoopAndEnd) {
  Server& bluetooth = this->server;
  auto callbacks = this->attach();
  EXPECT_EQ(this->events, Lines()) << "from inside the call";
  EXPECT_EQ(this->next(), Lines{"attached"});
  const Server::Session first = this->attached;
  Server::Device device = 0;
  EXPECT_EQ(bluetooth.defaultLocalDevice(first, device), 0);
  EXPECT_NE(device, 0u);
  Server::Session ended = first;
  EXPECT_EQ(bluetooth.detachSession(ended), 0);
  EXPECT_EQ(ended, 0u);
  EXPECT_EQ(this->next(), Lines{"terminated"});
  for (const Server::Session none : {first, 0u}) {
    ended = none;
    EXPECT_EQ(bluetooth.detachSession(ended), Server::kNoHandle);
    EXPECT_EQ(bluetooth.defaultLocalDevice(none, device), Server::kNoHandle);
  }

  callbacks = this->attach();
  EXPECT_EQ(this->next(), Lines{"attached"});
  EXPECT_NE(this->attached, first);
  this->world.setRunning(false);
  EXPECT_EQ(this->next(), Lines{"terminated"});
  EXPECT_EQ(this->states(device), "104 104 104 104 104 104 ");
  EXPECT_EQ(bluetooth.defaultLocalDevice(this->attached, device), Server::kNoHandle);
  callbacks = this->attach();
  this->world.deliver();
  EXPECT_EQ(this->events, Lines()) << "without a server";
  this->world.setRunning(true);
  EXPECT_EQ(this->next(), Lines{"attached"});
}

TYPED_TEST(BluetoothContract, AHandlerIsCalledUntilItIsDropped) {
  this->attach("dropped at once: ").reset();
  Registration own;
  Server::Session session = 0;
  EXPECT_EQ(this->server.attachSession(
                "Test",
                [&](Server::Session given, std::int32_t, Server::Status) {
                  session = given;
                  this->events.push_back("once");
                  own.reset();
                },
                own),
            0);
  const auto last = this->attach("last ");
  EXPECT_EQ(this->next(2), Lines({"once", "last attached"}));
  EXPECT_EQ(this->server.detachSession(session), 0);
  EXPECT_EQ(this->server.detachSession(this->attached), 0);
  EXPECT_EQ(this->next(), Lines{"last terminated"});
}

TYPED_TEST(BluetoothContract, DevicesHaveModesAndReportTheirChanges) {
  Server& bluetooth = this->server;
  const auto session = this->attach();
  this->next();
  Server::Device device = 0;
  ASSERT_EQ(bluetooth.defaultLocalDevice(this->attached, device), 0);
  EXPECT_EQ(this->states(device), "1 0 0 0 1 0 ");
  for (const Server::Device none : {0u, device + 1}) {
    Registration callbacks;
    EXPECT_EQ(this->states(none), "103 103 103 103 103 103 ");
    EXPECT_EQ(bluetooth.addLocalDeviceCallbacks(
                  none, [] {}, callbacks),
              Server::kNoHandle);
    EXPECT_EQ(bluetooth.registerForPowerUpdates(
                  none, [] {}, callbacks),
              Server::kNoHandle);
    std::uint32_t power = 0;
    EXPECT_EQ(bluetooth.readPowerConsumption(none, power), Server::kNoHandle);
  }
  Registration once, news;
  const auto callOnce = [&] {
    this->events.push_back("once");
    once.reset();
  };
  EXPECT_EQ(bluetooth.addLocalDeviceCallbacks(device, callOnce, once), 0);
  const auto report = [&] { this->events.push_back(this->states(device)); };
  EXPECT_EQ(bluetooth.addLocalDeviceCallbacks(device, report, news), 0);
  this->world.setDiscoverable(true);
  EXPECT_EQ(this->next(2), Lines({"once", "1 0 0 1 1 0 "}));
  this->world.connect();
  EXPECT_EQ(this->next(), Lines{"1 0 0 1 1 1 "});
  this->world.setPowered(false);
  EXPECT_EQ(this->next().back().substr(0, 6), "0 0 0 ");
  news.reset();
  this->world.setPowered(true);
  this->world.deliver();
  EXPECT_EQ(this->events, Lines());
}

using LinuxBluetoothServerTest = BluetoothContract<LinuxWorld>;

TEST_F(LinuxBluetoothServerTest, TheFirstOfSeveralControllersAnswersWithItsOwnDevices) {
  constexpr const char* kHci0 = "/org/bluez/hci0";
  constexpr const char* kMock = BluezForTest::kMock;
  BluezForTest& bluez = world.bluez;
  const auto session = attach();
  next();
  Server::Device device = 0;
  ASSERT_EQ(server.defaultLocalDevice(attached, device), 0);
  Registration news, power;
  server.addLocalDeviceCallbacks(
      device, [this] { events.push_back("news"); }, news);
  server.registerForPowerUpdates(
      device, [this] { events.push_back("power"); }, power);
  const auto reported = [&] {
    world.deliver();
    return std::exchange(events, {});
  };
  const Lines both{"power", "news"};
  bluez.call("/", kMock, "AddAdapter", "ss", "hci10", "another");
  bluez.call("/", kMock, "AddDevice", "sss", "hci10", "11:22:33:44:55:77", "elsewhere");
  bluez.call("/org/bluez/hci10/dev_11_22_33_44_55_77", bluez::kDevice, "Connect", "");
  bluez.set("/org/bluez/hci10", "Powered", false);
  bluez.set("/org/bluez/hci10", "Discoverable", true);
  EXPECT_EQ(reported(), Lines());
  bluez.set(kHci0, "Powered", false);
  EXPECT_EQ(reported(), both);
  bluez.set(kHci0, "Powered", true);
  EXPECT_EQ(reported(), both);
  // As a newer BlueZ reports it.
  bluez.call(kHci0, PrivateBusForTest::kMock, "EmitSignal", "sssav",
             "org.freedesktop.DBus.Properties", "PropertiesChanged", "sa{sv}as", 3, "s",
             bluez::kAdapter, "a{sv}", 1, "Connectable", "b", 0, "as", 0);
  EXPECT_EQ(reported(), Lines{"news"});
  world.connect();
  EXPECT_EQ(reported(), Lines{"news"});
  EXPECT_EQ(states(device), "1 0 0 0 0 1 ");
  bluez.call(kHci0, bluez::kAdapter, "RemoveDevice", "o", "/org/bluez/hci0/dev_11_22_33_44_55_66");
  EXPECT_EQ(reported(), Lines{"news"});
  bluez.call("/", kMock, "RemoveAdapter", "s", "hci0");
  EXPECT_EQ(reported(), both);
  EXPECT_EQ(states(device), "0 0 0 1 0 1 ") << "the other one's";
  bluez.call("/", kMock, "RemoveAdapter", "s", "hci10");
  EXPECT_EQ(reported(), Lines{"news"}) << "it was off";
  EXPECT_EQ(states(device), "104 104 104 104 104 104 ");
  EXPECT_EQ(server.defaultLocalDevice(attached, device), Server::kNoDevice);
}

}  // namespace
}  // namespace zorva

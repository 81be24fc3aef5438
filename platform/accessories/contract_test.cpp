// SPDX-License-Identifier: Apache-2.0
// What the accessory manager promises, on the simulated handset and over a mock kernel.

#include <algorithm>
#include <gtest/gtest.h>

#include "platform/accessories/linux/LinuxAccessoryManager.h"
#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

struct SimWorld {
  explicit SimWorld(UMockdevTestbed*) {}
  SimHandset handset;
  SimAccessoryManager& manager = handset.accessories();
  void connect(int id) {
    Accessory accessory;
    accessory.connectionIdentifier = static_cast<std::uint32_t>(id);
    manager.connect(accessory);
  }
  void disconnect(int id) { manager.disconnect(static_cast<std::uint32_t>(id)); }
};
struct LinuxWorld {
  explicit LinuxWorld(UMockdevTestbed* mock) : kernel(mock) {}
  UMockdevTestbed* kernel;
  LoopForTest loop;
  LinuxAccessoryManager manager{loop.event()};
  void connect(int id) {
    const std::string number = std::to_string(id);
    g_free(umockdev_testbed_add_device(kernel, "usb", number.c_str(), nullptr, "busnum", "0\n",
                                       "devnum", number.c_str(), "bDeviceClass", "00\n", nullptr,
                                       "DEVTYPE", "usb_device", nullptr));
    umockdev_testbed_uevent(kernel, ("/sys/devices/" + number).c_str(), "bind");
    loop.drain();
  }
  void disconnect(int id) {
    const std::string path = "/sys/devices/" + std::to_string(id);
    umockdev_testbed_uevent(kernel, path.c_str(), "remove");
    umockdev_testbed_remove_device(kernel, path.c_str());
    loop.drain();
  }
};

template <typename World>
class AccessoriesContract : public MockKernelTest {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(AccessoriesContract, Worlds);

TYPED_TEST(AccessoriesContract, EventsAreReportedWhileAClientIsRegistered) {
  if (!this->kernel_) return;    // outside
  using Ids = std::vector<int>;  // negative: disconnected
  TypeParam world(this->kernel_);
  const auto connected = [&] {
    Ids ids;
    for (const Accessory& each : world.manager.connectedAccessories()) {
      ids.push_back(static_cast<int>(each.connectionIdentifier) * (each.connected ? 1 : -1));
    }
    std::ranges::sort(ids);
    return ids;
  };
  Ids reported;
  const auto report = [&](const Accessory& accessory) {
    const int id = static_cast<int>(accessory.connectionIdentifier);
    EXPECT_EQ(std::ranges::count(connected(), id), accessory.connected ? 1 : 0);
    reported.push_back(accessory.connected ? id : -id);
  };
  const auto news = [&] { return std::exchange(reported, {}); };
  Registration arrivals = world.manager.observeConnected(report);
  const Registration departures = world.manager.observeDisconnected(report);
  Registration own = world.manager.observeConnected([&](const Accessory&) {
    own.reset();
    reported.push_back(100);
  });
  world.connect(4);
  EXPECT_EQ(news(), Ids()) << "no client is registered";
  Registration client = world.manager.registerForLocalNotifications();
  Registration other = world.manager.registerForLocalNotifications();
  world.connect(5);
  EXPECT_EQ(news(), Ids({5, 100}));
  client.reset();
  world.connect(6);
  world.disconnect(4);
  EXPECT_EQ(news(), Ids({6, -4})) << "one client is left";
  EXPECT_EQ(connected(), Ids({5, 6}));

  Registration last = world.manager.observeDisconnected([&](const Accessory&) { other.reset(); });
  for (const int id : {5, 6}) world.disconnect(id);
  EXPECT_EQ(news(), Ids{-5});
  client = world.manager.registerForLocalNotifications();
  world.connect(7);
  arrivals.reset();
  world.connect(8);
  EXPECT_EQ(news(), Ids{7});
}

class LinuxAccessoryManagerTest : public MockKernelTest {
 protected:
  using Lines = std::vector<std::string>;

  std::string addDevice(const char* name, const char* number, const char* deviceClass,
                        const char* removable, const char* product) {
    g_free(umockdev_testbed_add_device(
        kernel_, "usb", name, nullptr, "busnum", "1\n", "devnum", number, "bDeviceClass",
        deviceClass, "removable", removable, "product", product, "idVendor", "0b05\n", "idProduct",
        "1872\n", "bcdDevice", "0210\n", nullptr, "DEVTYPE", "usb_device", nullptr));
    return std::string("/sys/devices/") + name;
  }
  void addInterface(const std::string& device, const char* name, const char* interfaceClass) {
    g_free(umockdev_testbed_add_device(kernel_, "usb", name, device.c_str(), "bInterfaceClass",
                                       interfaceClass, nullptr, "DEVTYPE", "usb_interface",
                                       nullptr));
  }
  static std::string lineOf(const Accessory& accessory) {
    std::string line =
        formatText("%c %x ", accessory.connected ? '+' : '-', accessory.connectionIdentifier);
    for (const auto& text :
         {accessory.manufacturer, accessory.name, accessory.modelNumber, accessory.serialNumber,
          accessory.firmwareRevision, accessory.hardwareRevision}) {
      line += textOrNull(text) + ",";
    }
    for (const std::string& protocol : accessory.protocols) line += " " + protocol;
    return line;
  }
  Lines connected() {
    Lines lines;
    for (const Accessory& accessory : manager_.connectedAccessories()) {
      lines.push_back(lineOf(accessory));
    }
    return lines;
  }

  LoopForTest loop_;
  LinuxAccessoryManager manager_{loop_.event()};
};

TEST_F(LinuxAccessoryManagerTest, ListsWhatCanBeUnpluggedAndReportsItsChanges) {
  if (!kernel_) return;  // outside
  addDevice("usb1", "1\n", "09\n", "unknown\n", "root hub");
  addDevice("1-1", "2\n", "09\n", "removable\n", "hub");
  addDevice("1-3", "3\n", "ef\n", "fixed\n", "camera");
  const std::string mouse = addDevice("1-1.4", "17\n", "00\n", "removable\n", "Mouse\n");
  set(mouse, "serial", "00\xff 42\n");
  addInterface(mouse, "1-1.4:1.0", "03\n");
  const std::string stick = addDevice("1-1.2", "4\n", "00\n", "unknown\n", "Stick\n");
  set(stick, "manufacturer", "\n");
  const std::string mouseTexts = " 111 (null),Mouse,0b05:1872,00\xff 42,(null),2.10, input";
  const std::string stickTexts = " 104 ,Stick,0b05:1872,(null),(null),2.10,";
  EXPECT_EQ(connected(), Lines({"+" + stickTexts, "+" + mouseTexts}));

  Lines reported;
  const auto report = [&](const Accessory& accessory) { reported.push_back(lineOf(accessory)); };
  const Registration one = manager_.observeConnected(report);
  const Registration other = manager_.observeDisconnected(report);
  const auto next = [&] {
    loop_.runUntil([&] { return !reported.empty(); });
    return std::exchange(reported, {});
  };
  const Registration registered = manager_.registerForLocalNotifications();
  ASSERT_TRUE(registered);
  // One that is known is no news, nor is a hub; one is reported with its interfaces, once it has
  // them.
  for (const std::string& device : {mouse, std::string("/sys/devices/1-1")}) send(device, "bind");
  const std::string headset = addDevice("1-2", "18\n", "00\n", "removable\n", "Headset\n");
  send(headset, "add");
  loop_.drain();
  addInterface(headset, "1-2:1.0", "01\n");
  addInterface(headset, "1-2:1.1", "01\n");
  addInterface(headset, "1-2:1.2", "fe\n");
  addInterface(headset, "1-2:1.3", "42\n");
  send(headset, "bind");
  const std::string headsetTexts =
      " 112 (null),Headset,0b05:1872,(null),(null),2.10, audio application class-42";
  EXPECT_EQ(next(), Lines{"+" + headsetTexts});

  for (const auto& [device, texts] :
       {std::pair(headset, headsetTexts), std::pair(mouse, mouseTexts)}) {
    set(device, "product", "gone\n");
    send(device, "unbind");
    send(device, "remove");
    EXPECT_EQ(next(), Lines{"-" + texts});
  }
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
// What the accessory manager promises, on the simulated handset and over a mock kernel.

#include <algorithm>
#include <gtest/gtest.h>

#include "platform/accessories/linux/LinuxAccessoryManager.h"
#include "platform/assemble/SimHandset.h"
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

}  // namespace
}  // namespace zorva

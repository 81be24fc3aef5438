// SPDX-License-Identifier: Apache-2.0
// What the Wi-Fi manager and driver answer where there is no radio, on the simulated handset and in
// a network namespace, which has none.

#include <cerrno>
#include <gtest/gtest.h>
#include <sched.h>

#include "platform/assemble/SimHandset.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TestLoop.h"
#include "platform/wifi/linux/LinuxWiFiDriver.h"
#include "platform/wifi/linux/LinuxWiFiManager.h"

namespace zorva {
namespace {

constexpr int kSkipped = 77;

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
  ChildForTest child([] {
    TypeParam world;
    if (!world.prepare()) return kSkipped;
    const auto client = world.manager.createClient();
    if (!client) return 1;
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
    return testing::Test::HasFailure() ? 1 : 0;
  });
  const int status = child.status();
  if (status == kSkipped) GTEST_SKIP() << "no network namespace for this user";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
// What the thermal facility promises, on the simulated handset and on this machine.

#include <cmath>
#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"
#include "platform/thermal/linux/LinuxThermal.h"

namespace zorva {
namespace {

// Each world is a cool one without sensors.
class SimWorld : public testing::Test {
 protected:
  static bool outside() { return false; }
  void SetUp() override {
    for (int sensor = 0; sensor < 24; ++sensor) setTemperature(sensor, 0);
  }
  void setTemperature(int sensor, double degrees) {
    thermal.setTemperature(static_cast<std::size_t>(sensor / 4),
                           static_cast<std::size_t>(sensor % 4), degrees);
  }
  void throttle(int level) { thermal.setLevel(level); }

  SimHandset handset;
  SystemNotifications& notifications = handset.notifications();
  SimThermal& thermal = handset.thermal();
};

class LinuxWorld : public MockKernelTest {
 protected:
  void setTemperature(int sensor, double degrees) {
    root.write("thermal_zone" + std::to_string(sensor) + "/temp",
               std::to_string(std::lround(degrees * 1000)) + "\n");
  }
  void throttle(int level) {
    root.write("thermal_zone0/trip_point_0_type", "passive\n");
    root.write("thermal_zone0/cdev0_trip_point", "0\n");
    root.write("thermal_zone0/cdev0/cur_state", std::to_string(level) + "\n");
    root.write("thermal_zone0/cdev0/max_state", "100\n");
    g_free(umockdev_testbed_add_device(kernel_, "thermal", "zone", nullptr, nullptr, nullptr));
    for (int times = 0; times < 2; ++times) send("/sys/devices/zone", "change");
    loop.drain();
    umockdev_testbed_remove_device(kernel_, "/sys/devices/zone");
  }

  DirectoryForTest root;
  LoopForTest loop;
  LinuxSystemLog log{loop};
  LinuxSystemNotifications notifications{loop, log, {root / "", "", ""}};
  LinuxThermal thermal{
      loop.event(), notifications,
      [this](const std::string& name, LinuxSystemNotifications::StateSource source) {
        return notifications.provideState(name, std::move(source));
      },
      root / ""};
};

template <typename World>
class ThermalContract : public World {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ThermalContract, Worlds);

TYPED_TEST(ThermalContract, AStatePacksFourReadingsTheFirstLowest) {
  if (this->outside()) return;
  using States = std::vector<std::optional<std::uint64_t>>;
  const auto states = [this] {
    States all;
    for (const char* name : kThermalSensorValues) all.push_back(this->notifications.state(name));
    return all;
  };
  EXPECT_EQ(states(), States(6, 0)) << "no sensor";
  for (const auto& [sensor, degrees] : std::initializer_list<std::pair<int, double>>{
           {0, 27}, {1, 30.05}, {10, 655.35}, {20, 0.01}, {23, 45}}) {
    this->setTemperature(sensor, degrees);
  }
  EXPECT_EQ(states(), (States{0x0BBD'0A8C, 0, 0x0000'FFFF'0000'0000, 0, 0, 0x1194'0000'0000'0001}));
}

TYPED_TEST(ThermalContract, EveryChangeOfTheLevelIsPosted) {
  if (this->outside()) return;
  EXPECT_EQ(this->thermal.level(), 0);
  std::vector<std::int32_t> heard;
  const auto listening = this->notifications.observe(
      kThermalLevelChanged, [&](auto) { heard.push_back(this->thermal.level()); });
  for (const int level : {0, 25, 25, 50, 0, 0}) this->throttle(level);
  EXPECT_EQ(heard, (std::vector<std::int32_t>{25, 50, 0}));
}

}  // namespace
}  // namespace zorva

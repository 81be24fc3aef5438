// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxDeviceRegistry.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/base/Text.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

class LinuxDeviceRegistryTest : public MockKernelTest {
 protected:
  std::string addBattery(const char* name, const char* scope = "System") {
    g_free(umockdev_testbed_add_device(kernel_, "power_supply", name, nullptr, "type", "Battery",
                                       "scope", scope, "status", "Discharging", "charge_now",
                                       "1234000\n", "charge_full", "1400000\n", "voltage_now",
                                       "3921000\n", "current_now", "-250000\n", nullptr, nullptr));
    return std::string("/sys/devices/") + name;
  }
  std::string addBacklight(const char* name, const char* type) {
    g_free(umockdev_testbed_add_device(kernel_, "backlight", name, nullptr, "type", type,
                                       "brightness", "100\n", "actual_brightness", "90\n",
                                       "max_brightness", "200\n", "bl_power", "0\n", nullptr,
                                       nullptr));
    return std::string("/sys/devices/") + name;
  }
  LoopForTest loop_;
  LinuxDeviceRegistry registry_{loop_.event()};
};

TEST_F(LinuxDeviceRegistryTest, FindsTheFirstBatteryOfTheDeviceItself) {
  if (outside()) return;
  g_free(umockdev_testbed_add_device(kernel_, "power_supply", "AC", nullptr, "type", "Mains",
                                     nullptr, nullptr));
  addBattery("BAT-mouse", "Device");
  EXPECT_EQ(registry_.firstPowerSource(), nullptr);
  EXPECT_FALSE(registry_.hasGasGauge());

  const std::string second = addBattery("BAT1");
  const std::string first = addBattery("BAT0");
  set(second, "voltage_now", "3700000\n");
  EXPECT_EQ(registry_.firstPowerSource()->readProperty("Voltage"), Value(3921));
  EXPECT_TRUE(registry_.hasGasGauge());

  // An empty bay counts only while there is nothing else.
  set(first, "present", "0\n");
  EXPECT_EQ(registry_.firstPowerSource()->readProperty("Voltage"), Value(3700));
  set(second, "present", "0\n");
  const auto bay = registry_.firstPowerSource();
  ASSERT_NE(bay, nullptr);
  EXPECT_TRUE(bay->readProperty("Voltage").isNothing());
  EXPECT_FALSE(registry_.hasGasGauge());
}

// What each backlight publishes, by its attributes.
TEST_F(LinuxDeviceRegistryTest, FindsTheBestBacklightAndHowBrightItShines) {
  if (outside()) return;
  EXPECT_EQ(registry_.firstServiceWith("backlight-control"), nullptr);
  const char* const kinds[][2] = {
      {"b_raw", "raw"}, {"a_raw", "raw\n"}, {"z_pf", "platform\n"}, {"zz_fw", "firmware\n"}};
  int brightness = 0;
  for (const auto& [name, type] : kinds) {
    const std::string device = addBacklight(name, type);
    set(device, "brightness", (std::to_string(++brightness) + "\n").c_str());
    const auto found = registry_.firstServiceWith("backlight-control");
    set(device, "actual_brightness", "nonsense\n");
    EXPECT_EQ(found->readProperty("IODisplayParameters").description(),
              formatText("{brightness = {min = 0; max = 200; value = %d;};}", brightness))
        << name << " is better than all before";
  }
  const std::string device = "/sys/devices/zz_fw";
  const auto backlight = registry_.firstServiceWith("backlight-control");
  const struct {
    const char *attribute, *value, *parameters;
  } cases[] = {{"actual_brightness", "6\n", "min = 0; max = 200; value = 6;"},
               {"actual_brightness", "257\n", "min = 0; max = 200; value = 4;"},
               {"bl_power", "4\n", "min = 0; max = 200; value = 0;"},
               {"max_brightness", "-1\n", "min = 0; value = 0;"},
               {"bl_power", "0\n", "min = 0; value = 257;"}};
  for (const auto& [attribute, value, parameters] : cases) {
    set(device, attribute, value);
    EXPECT_EQ(backlight->readProperty("IODisplayParameters").description(),
              "{brightness = {" + std::string(parameters) + "};}")
        << attribute << " = " << value;
  }
}

}  // namespace
}  // namespace zorva

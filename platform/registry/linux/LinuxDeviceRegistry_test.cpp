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

TEST_F(LinuxDeviceRegistryTest, ReportsEveryNewBrightnessOnce) {
  if (outside()) return;
  const std::string device = addBacklight("panel", "raw\n");
  const auto backlight = registry_.firstServiceWith("backlight-control");
  const auto port = registry_.makeNotificationPort();
  ASSERT_TRUE(port->addToRunLoop());
  std::vector<std::string> seen;
  Registration interest;
  const auto look = [&](const auto&, auto, const Value& argument) {
    seen.push_back(argument.description());
  };
  ASSERT_EQ(port->addInterest(backlight, look, interest), kRegistrySuccess);
  send(device, "change");  // the same brightness, asked for once more
  set(device, "actual_brightness", "150\n");
  send(device, "change");
  send(device, "change");
  loop_.drain();
  send(device, "remove");
  umockdev_testbed_remove_device(kernel_, device.c_str());
  loop_.drain();
  addBacklight("panel", "raw\n");
  send(device, "add");
  loop_.drain();
  EXPECT_EQ(seen, (std::vector<std::string>{"150", "90"}));
}

}  // namespace
}  // namespace zorva

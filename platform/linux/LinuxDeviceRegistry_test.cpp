#include "platform/linux/LinuxDeviceRegistry.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <umockdev.h>
#include <vector>

#include "platform/linux/Loop_test.h"

namespace zorva {
namespace {

/// Runs each of its tests twice: outside it starts this program again with the mock kernel's
/// library loaded in front of the C library, and inside that it runs the case.
class LinuxDeviceRegistryTest : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv("ZORVA_TEST_IN_MOCK_KERNEL")) {
      kernel_ = umockdev_testbed_new();
      return;
    }
    // The preloaded library comes before the sanitizer's, which that would refuse.
    const std::string again =
        "ZORVA_TEST_IN_MOCK_KERNEL=1 LD_PRELOAD=libumockdev-preload.so.0"
        " ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 '" +
        std::filesystem::read_symlink("/proc/self/exe").string() + "' --gtest_filter=*." +
        testing::UnitTest::GetInstance()->current_test_info()->name();
    ASSERT_EQ(std::system(again.c_str()), 0) << "in the mock kernel";
  }
  void TearDown() override {
    if (kernel_) g_object_unref(kernel_);
  }

  std::string addBattery(const char* name, const char* scope = "System") {
    g_free(umockdev_testbed_add_device(kernel_, "power_supply", name, nullptr, "type", "Battery",
                                       "scope", scope, "status", "Discharging", "charge_now",
                                       "1234000\n", "charge_full", "1400000\n", "voltage_now",
                                       "3921000\n", "current_now", "-250000\n", nullptr, nullptr));
    return std::string("/sys/devices/") + name;
  }
  void set(const std::string& device, const char* attribute, const char* value) {
    umockdev_testbed_set_attribute(kernel_, device.c_str(), attribute, value);
  }
  void send(const std::string& device, const char* event) {
    umockdev_testbed_uevent(kernel_, device.c_str(), event);
  }

  UMockdevTestbed* kernel_ = nullptr;
  LoopForTest loop_;
  LinuxDeviceRegistry registry_{loop_.event()};
};

TEST_F(LinuxDeviceRegistryTest, FindsTheFirstBatteryOfTheDeviceItself) {
  if (!kernel_) return;  // outside
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

TEST_F(LinuxDeviceRegistryTest, ReportsTheBatterysOwnEventsWithFreshFigures) {
  if (!kernel_) return;  // outside
  const std::string battery = addBattery("BAT0");
  const std::string other = addBattery("BAT1");
  auto port = registry_.makeNotificationPort();
  ASSERT_TRUE(port->addToRunLoop());
  const auto entry = registry_.firstPowerSource();
  std::vector<std::string> seen;
  Registration interest, ending, never;
  const auto look = [&](const auto& from, std::uint32_t type, const Value&) {
    EXPECT_EQ(from, entry);
    EXPECT_EQ(type, kBatteryStatusChanged);
    Dictionary properties;
    const bool there = entry->readProperties(properties) == kRegistrySuccess;
    seen.push_back(there ? properties["CurrentCapacity"].description() : "gone");
  };
  const auto nextSeen = [&] {
    loop_.runUntil([&, before = seen.size()] { return seen.size() > before; });
    return seen.back();
  };
  ASSERT_EQ(port->addInterest(entry, look, interest), kRegistrySuccess);

  set(battery, "charge_now", "1200000\n");
  send(other, "change");
  send(battery, "change");
  EXPECT_EQ(nextSeen(), "1200");

  send(battery, "remove");
  umockdev_testbed_remove_device(kernel_, battery.c_str());
  EXPECT_EQ(nextSeen(), "gone");
  EXPECT_TRUE(entry->readProperty("Voltage").isNothing());
  addBattery("BAT0");
  send(battery, "add");
  EXPECT_EQ(nextSeen(), "1234");

  // A handler may end everything, its own interest as well.
  interest.reset();
  const auto end = [&](const auto&, auto, const auto&) {
    seen.push_back("end");
    ending.reset();
    port.reset();
  };
  ASSERT_EQ(port->addInterest(entry, end, ending), kRegistrySuccess);
  ASSERT_EQ(port->addInterest(entry, end, never), kRegistrySuccess);
  send(battery, "change");
  EXPECT_EQ(nextSeen(), "end");
  EXPECT_EQ(seen, (std::vector<std::string>{"1200", "gone", "1234", "end"}));
}

}  // namespace
}  // namespace zorva

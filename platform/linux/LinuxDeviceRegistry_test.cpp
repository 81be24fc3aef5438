#include "platform/linux/LinuxDeviceRegistry.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <umockdev.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/LoopForTest.h"

namespace zorva {
namespace {

// Set in the copy of the test program that runs with the mock kernel's library in front.
constexpr const char* kInMockKernel = "ZORVA_TEST_IN_MOCK_KERNEL";

/// Runs each of its tests twice: outside it starts this program again with the mock kernel's
/// library loaded in front of the C library, and inside that it runs the case.
class LinuxDeviceRegistryTest : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv(kInMockKernel)) {
      kernel_ = umockdev_testbed_new();
      return;
    }
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter =
        std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      setenv("LD_PRELOAD", "libumockdev-preload.so.0", 1);
      // The preloaded library comes before the sanitizer's, which that would refuse.
      setenv("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0", 1);
      setenv(kInMockKernel, "1", 1);
      execl("/proc/self/exe", "platform_linux_tests", filter.c_str(), nullptr);
      _exit(127);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "in the mock kernel: " << status;
  }
  void TearDown() override {
    if (kernel_) g_object_unref(kernel_);
  }

  bool inMockKernel() const { return kernel_ != nullptr; }

  std::string addBattery(const char* name, const char* scope = "System") {
    gchar* path = umockdev_testbed_add_device(
        kernel_, "power_supply", name, nullptr, "type", "Battery", "scope", scope, "status",
        "Discharging", "charge_now", "1234000\n", "charge_full", "1400000\n", "voltage_now",
        "3921000\n", "current_now", "-250000\n", nullptr, nullptr);
    std::string result(path);
    g_free(path);
    return result;
  }

  UMockdevTestbed* kernel_ = nullptr;
  LoopForTest loop_;
  LinuxDeviceRegistry registry_{loop_.event()};
};

TEST_F(LinuxDeviceRegistryTest, FindsTheFirstBatteryOfTheDeviceItself) {
  if (!inMockKernel()) return;
  EXPECT_EQ(registry_.firstPowerSource(), nullptr);
  EXPECT_FALSE(registry_.hasGasGauge());

  g_free(umockdev_testbed_add_device(kernel_, "power_supply", "AC", nullptr, "type", "Mains",
                                     nullptr, nullptr));
  addBattery("BAT-mouse", "Device");
  EXPECT_EQ(registry_.firstPowerSource(), nullptr);

  const std::string second = addBattery("BAT1");
  const std::string first = addBattery("BAT0");
  umockdev_testbed_set_attribute(kernel_, second.c_str(), "voltage_now", "3700000\n");
  EXPECT_EQ(registry_.firstPowerSource()->readProperty("Voltage"), Value(3921));
  EXPECT_TRUE(registry_.hasGasGauge());

  // An empty bay counts only while there is nothing else.
  umockdev_testbed_set_attribute(kernel_, first.c_str(), "present", "0\n");
  EXPECT_EQ(registry_.firstPowerSource()->readProperty("Voltage"), Value(3700));
  umockdev_testbed_set_attribute(kernel_, second.c_str(), "present", "0\n");
  const auto bay = registry_.firstPowerSource();
  ASSERT_NE(bay, nullptr);
  Dictionary properties;
  EXPECT_EQ(bay->readProperties(properties), kRegistryNoDevice);
  EXPECT_FALSE(registry_.hasGasGauge());
}

TEST_F(LinuxDeviceRegistryTest, ReportsTheBatterysOwnEventsWithFreshFigures) {
  if (!inMockKernel()) return;
  const std::string battery = addBattery("BAT0");
  const std::string other = addBattery("BAT1");
  const auto port = registry_.makeNotificationPort();
  ASSERT_TRUE(port->addToRunLoop());
  const auto entry = registry_.firstPowerSource();
  std::vector<std::string> seen;
  Registration interest;
  ASSERT_EQ(port->addInterest(
                entry,
                [&](const auto& from, std::uint32_t type, const Value& argument) {
                  EXPECT_EQ(from, entry);
                  EXPECT_EQ(type, kBatteryStatusChanged);
                  EXPECT_TRUE(argument.isNothing());
                  Dictionary properties;
                  const RegistryResult result = entry->readProperties(properties);
                  seen.push_back(result == kRegistrySuccess
                                     ? properties["CurrentCapacity"].description()
                                     : "gone");
                },
                interest),
            kRegistrySuccess);

  umockdev_testbed_set_attribute(kernel_, battery.c_str(), "charge_now", "1200000\n");
  umockdev_testbed_uevent(kernel_, other.c_str(), "change");
  umockdev_testbed_uevent(kernel_, battery.c_str(), "change");
  loop_.runUntil([&] { return seen.size() == 1; });
  EXPECT_EQ(seen, std::vector<std::string>{"1200"});

  umockdev_testbed_uevent(kernel_, battery.c_str(), "remove");
  umockdev_testbed_remove_device(kernel_, battery.c_str());
  loop_.runUntil([&] { return seen.size() == 2; });
  EXPECT_EQ(seen.back(), "gone");
  EXPECT_TRUE(entry->readProperty("Voltage").isNothing());

  addBattery("BAT0");
  umockdev_testbed_uevent(kernel_, battery.c_str(), "add");
  loop_.runUntil([&] { return seen.size() == 3; });
  EXPECT_EQ(seen.back(), "1234");

  // Once dropped, an interest is over; the second one shows that the event has passed.
  interest.reset();
  int second = 0;
  Registration another;
  ASSERT_EQ(port->addInterest(
                entry, [&](const auto&, auto, const auto&) { ++second; }, another),
            kRegistrySuccess);
  umockdev_testbed_uevent(kernel_, battery.c_str(), "change");
  loop_.runUntil([&] { return second == 1; });
  EXPECT_EQ(seen.size(), 3u);
}

TEST_F(LinuxDeviceRegistryTest, AHandlerMayEndEverything) {
  if (!inMockKernel()) return;
  const std::string battery = addBattery("BAT0");
  auto port = registry_.makeNotificationPort();
  Registration first, second;
  EXPECT_EQ(port->addInterest(nullptr, {}, first), kRegistryBadArgument);
  ASSERT_TRUE(port->addToRunLoop());
  const auto entry = registry_.firstPowerSource();
  int calls = 0;
  const auto end = [&](const auto&, auto, const auto&) {
    ++calls;
    first.reset();
    port.reset();
  };
  ASSERT_EQ(port->addInterest(entry, end, first), kRegistrySuccess);
  ASSERT_EQ(port->addInterest(entry, end, second), kRegistrySuccess);
  umockdev_testbed_uevent(kernel_, battery.c_str(), "change");
  loop_.runUntil([&] { return calls > 0; });
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace zorva

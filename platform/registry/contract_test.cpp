// SPDX-License-Identifier: Apache-2.0
// What the registry promises of the battery and the backlight, on the simulated handset and on this
// machine.

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "platform/registry/linux/LinuxDeviceRegistry.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

struct Charge {
  int level = 50;      ///< in percent
  int current = -250;  ///< in mA
  bool charging = false, full = false, hot = false;
};

// Each world's battery holds 1400 of once 1500 mAh, at 3.921 V and 29.5 degrees, after 321 cycles;
// its backlight shines at 90 of 0 to 200. Every change is announced.
class SimWorld : public testing::Test {
 protected:
  static bool outside() { return false; }
  void SetUp() override {
    simulated.setMaxCapacity(1400);
    simulated.set("DesignCapacity", 1500);
    simulated.set("CycleCount", 321);
    set({});
    handset.backlight().setMaximum(200);
    shine(90);
  }
  void set(const Charge& charge) {
    simulated.setLevel(charge.level);
    simulated.setCurrent(charge.current);
    simulated.setChargingCurrent(charge.current);
    simulated.setCharging(charge.charging);
    simulated.setFullyCharged(charge.full);
    simulated.setChargeStatus(charge.hot ? std::optional("HighTemperature") : std::nullopt);
    simulated.announce();
  }
  void putBattery(bool in) {
    simulated.setPresent(in);
    set({});
  }
  void shine(int brightness) {
    handset.backlight().setBrightness(brightness);
    handset.backlight().announce();
  }
  void takeBacklight() { handset.backlight().setPresent(false); }

  SimHandset handset;
  SimBattery& simulated = handset.battery();
  DeviceRegistry& registry = handset.registry();
};

class LinuxWorld : public MockKernelTest {
 protected:
  void SetUp() override {
    MockKernelTest::SetUp();
    if (outside()) return;
    const auto add = [&](const char* type, const char* name) {
      g_free(umockdev_testbed_add_device(kernel_, type, name, nullptr, nullptr, nullptr));
    };
    add("power_supply", "AC");
    add("backlight", "panel");
    set(kPanel, "max_brightness", "200\n");
    shine(90);
    putBattery(true);
  }
  using MockKernelTest::set;
  void set(const Charge& charge) {
    const auto number = [&](const char* attribute, int value) {
      set(kBattery, attribute, (std::to_string(value) + "\n").c_str());
    };
    number("charge_now", charge.level * 14'000);  // uAh
    number("current_now", std::abs(charge.current) * 1'000);
    set(kBattery, "status",
        charge.charging ? "Charging\n" : (charge.full ? "Full\n" : "Discharging\n"));
    set(kBattery, "health", charge.hot ? "Overheat\n" : "Good\n");
    number("capacity", charge.level);
    announce(kBattery, "change");
  }
  void putBattery(bool in) {
    if (!in) {
      send(kBattery, "remove");
      umockdev_testbed_remove_device(kernel_, kBattery);
      return loop.drain();
    }
    g_free(umockdev_testbed_add_device(kernel_, "power_supply", "BAT0", nullptr, "type", "Battery",
                                       "charge_full", "1400000\n", "charge_full_design",
                                       "1500000\n", "voltage_now", "3921000\n", "temp", "295\n",
                                       "cycle_count", "321\n", nullptr, nullptr));
    set({});
  }
  void shine(int brightness) {
    if (brightness > 0) set(kPanel, "actual_brightness", std::to_string(brightness).c_str());
    // Power is switched without an event.
    std::ofstream("/sys/class/backlight/panel/bl_power") << (brightness > 0 ? "0\n" : "4\n");
    if (brightness > 0) announce(kPanel, "change");
    loop.drain();
  }
  void takeBacklight() { umockdev_testbed_remove_device(kernel_, kPanel); }
  void announce(const char* device, const char* event) {
    send("/sys/devices/AC", event);  // in which nobody is interested
    send(device, event);
    loop.drain();
  }

  static constexpr const char* kBattery = "/sys/devices/BAT0";
  static constexpr const char* kPanel = "/sys/devices/panel";
  LoopForTest loop;
  LinuxDeviceRegistry registry{loop.event()};
};

template <typename World>
class RegistryContract : public World {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(RegistryContract, Worlds);

TYPED_TEST(RegistryContract, ABatteryPublishesItsFiguresWhileItIsThere) {
  if (this->outside()) return;
  const auto battery = this->registry.firstPowerSource();
  Dictionary all;
  ASSERT_EQ(battery->readProperties(all), kRegistrySuccess);
  for (const auto& [key, value] : Dictionary{{"VennorRawCurrentCapacity", 700},
                                             {"VennorRawMaxCapacity", 1400},
                                             {"InstantAmperage", -250},
                                             {"Amperage", -250},
                                             {"Voltage", 3921},
                                             {"VennorRawBatteryVoltage", 3921},
                                             {"Temperature", 2950},
                                             {"CycleCount", 321},
                                             {"IsCharging", false},
                                             {"FullyCharged", false},
                                             {"AtCriticalLevel", false},
                                             {"ChargeStatus", {}}}) {
    EXPECT_EQ(all[key], value) << key;
    EXPECT_EQ(battery->readProperty(key), value) << key;
  }
  EXPECT_EQ(all["CurrentCapacity"].real(), 700);
  EXPECT_EQ(all["MaxCapacity"].real(), 1400);
  EXPECT_EQ(all["DesignCapacity"].real(), 1500);

  EXPECT_EQ(this->registry.firstServiceWith("IsCharging"), nullptr);
  this->set({.level = 60, .current = 900, .charging = true});
  EXPECT_EQ(battery->readProperty("InstantAmperage"), Value(900));
  const auto charging = this->registry.firstServiceWith("IsCharging");
  ASSERT_NE(charging, nullptr);
  EXPECT_EQ(charging->readProperty("CurrentCapacity").real(), 840);
  this->set({.level = 100, .current = 0, .full = true, .hot = true});
  EXPECT_EQ(battery->readProperty("IsCharging"), Value(false));
  EXPECT_EQ(battery->readProperty("FullyCharged"), Value(true));
  EXPECT_EQ(battery->readProperty("ChargeStatus"), Value("HighTemperature"));

  this->putBattery(false);
  EXPECT_EQ(this->registry.firstPowerSource(), nullptr);
  EXPECT_EQ(battery->readProperties(all), kRegistryNoDevice);
  EXPECT_EQ(all["Voltage"], Value(3921)) << "left alone";
  EXPECT_TRUE(battery->readProperty("Voltage").isNothing());
  int appeared = 0;
  const Registration late = this->registry.observeFirstPowerSource([&] { ++appeared; });
  this->putBattery(true);
  EXPECT_EQ(appeared, 1);
  EXPECT_EQ(battery->readProperty("Voltage"), Value(3921));
}

TYPED_TEST(RegistryContract, MessagesComeOnTheRunLoopUntilTheirInterestEnds) {
  if (this->outside()) return;
  const auto battery = this->registry.firstPowerSource();
  auto port = this->registry.makeNotificationPort();
  std::vector<std::string> seen;
  Registration interest, own, never;
  const auto look = [&](const auto& from, std::uint32_t type, const Value& argument) {
    EXPECT_EQ(from, battery);
    EXPECT_EQ(type, kBatteryStatusChanged);
    EXPECT_TRUE(argument.isNothing());
    const std::string capacity = battery->readProperty("CurrentCapacity").description();
    if (seen.empty() || seen.back() != capacity) seen.push_back(capacity);
  };
  EXPECT_EQ(port->addInterest(nullptr, look, interest), kRegistryBadArgument);
  ASSERT_EQ(port->addInterest(battery, look, interest), kRegistrySuccess);
  this->set({.level = 40});
  ASSERT_TRUE(port->addToRunLoop());
  this->set({.level = 60});
  this->putBattery(false);
  this->putBattery(true);
  interest.reset();
  // A handler may end everything, its own interest as well.
  const auto end = [&](const auto&, auto, const auto&) {
    seen.push_back("end");
    own.reset();
    port.reset();
  };
  ASSERT_EQ(port->addInterest(battery, end, own), kRegistrySuccess);
  ASSERT_EQ(port->addInterest(battery, end, never), kRegistrySuccess);
  this->set({.level = 70});
  this->set({.level = 80});
  EXPECT_EQ(seen, (std::vector<std::string>{"840", "(null)", "700", "end"}));
}

TYPED_TEST(RegistryContract, ABacklightReportsItsBrightness) {
  if (this->outside()) return;
  const auto backlight = this->registry.firstServiceWith("backlight-control");
  const auto parameters = [&] { return backlight->readProperty("IODisplayParameters"); };
  EXPECT_EQ(backlight->readProperty("backlight-control"), Value(true));
  EXPECT_EQ(parameters().description(), "{brightness = {min = 0; max = 200; value = 90;};}");
  const auto port = this->registry.makeNotificationPort();
  std::vector<Value> seen;
  Registration interest;
  const auto look = [&](const auto&, std::uint32_t type, const Value& brightness) {
    EXPECT_EQ(type, kPropertyChanged);
    EXPECT_EQ((*(*parameters().dictionary())["brightness"].dictionary())["value"], brightness);
    seen.push_back(brightness);
  };
  ASSERT_EQ(port->addInterest(backlight, look, interest), kRegistrySuccess);
  this->shine(0);  // too early to be reported
  ASSERT_TRUE(port->addToRunLoop());
  for (const int brightness : {150, 0, 1}) this->shine(brightness);
  EXPECT_EQ(seen, (std::vector<Value>{150, 0, 1}));
  this->takeBacklight();
  EXPECT_EQ(this->registry.firstServiceWith("backlight-control"), nullptr);
  EXPECT_TRUE(parameters().isNothing());
}

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

}  // namespace
}  // namespace zorva

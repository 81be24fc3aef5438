// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxPowerSource.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "platform/base/Text.h"
#include "platform/registry/linux/LinuxDeviceRegistry.h"
#include "platform/registry/linux/LinuxNotificationPort.h"
#include "platform/registry/linux/PowerSourceNews.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Levels = std::vector<int>;
using namespace std::chrono_literals;

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(c));
  return text;
}

// Batteries whose drivers report the same in sysfs and in their events, as the kernel's class does.
class LinuxPowerSourceTest : public MockKernelTest {
 protected:
  std::string add(const char* name, const char* type = "Battery", const char* scope = "System") {
    g_free(umockdev_testbed_add_device(kernel_, "power_supply", name, nullptr, "type", type,
                                       "scope", scope, nullptr, "POWER_SUPPLY_NAME", name,
                                       nullptr));
    return std::string("/sys/devices/") + name;
  }
  std::string addBattery(const char* name, int level, const char* type = "Battery") {
    const std::string device = add(name, type);
    report(device, "status", "Discharging");
    report(device, "charge_full", "1000000");
    report(device, "voltage_now", "4000000");
    report(device, "current_now", "-250000");
    report(device, "charge_now", std::to_string(level * 10'000));
    return device;
  }
  void report(const std::string& device, const std::string& attribute, const std::string& value) {
    set(device, attribute.c_str(), (value + "\n").c_str());
    const std::string variable = "POWER_SUPPLY_" + upper(attribute);
    umockdev_testbed_set_property(kernel_, device.c_str(), variable.c_str(), value.c_str());
  }
  void level(const std::string& device, int percent, const char* event = nullptr) {
    report(device, "charge_now", std::to_string(percent * 10'000));
    if (event) announce(device, event);
  }
  void announce(const std::string& device, const char* event = "change") {
    send(device, event);
    loop_.drain();
  }
  void wait(std::chrono::milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) sd_event_run(loop_.event(), 10'000);
  }
  int shown(RegistryEntry& entry) const {
    const Value now = entry.readProperty("CurrentCapacity");
    if (now.isNothing()) return -1;
    return static_cast<int>(now.real() * 100.0 / entry.readProperty("MaxCapacity").real());
  }
  // From here on every message adds the level.
  void watch(const std::shared_ptr<LinuxPowerSource>& source) {
    ASSERT_TRUE(port_.addToRunLoop());
    ASSERT_EQ(port_.addInterest(
                  source,
                  [&](const auto& entry, auto, const Value&) { levels_.push_back(shown(*entry)); },
                  interest_),
              kRegistrySuccess);
  }

  LoopForTest loop_;
  LinuxNotificationPort port_{loop_.event()};
  Registration interest_;
  Levels levels_;
};

// The figures of the log's entry, as its logger forms them.
std::string logged(LinuxPowerSource& source) {
  Dictionary now;
  if (source.readProperties(now) != kRegistrySuccess) return "out";
  const double full = now["MaxCapacity"].real();
  const Value& voltage = now["Voltage"];
  const std::string gauge =
      source.hasGasGauge() ? formatText("%d mA of %.0f", now["InstantAmperage"].integer32(), full)
                           : "?";
  const std::string state = now["IsCharging"].boolean() ? "Active"
                            : now["FullyCharged"].boolean()
                                ? "Full"
                                : now["ChargeStatus"].text().value_or("Inactive");
  return formatText("%.2f%% %d mV %s, %s %d mA %.2f C",
                    now["CurrentCapacity"].real() * 100.0 / full,
                    voltage.isNothing() ? -1 : voltage.integer32(), gauge.c_str(), state.c_str(),
                    now["Amperage"].integer32(), now["Temperature"].integer32() / 100.0);
}

// What drivers report on real machines, and the figures of the log that follow from it. The values
// were worked out from the readouts, not with this code.
TEST(LinuxPowerSource, ReadoutsOfRealBatteries) {
  const struct {
    const char* source;
    const char* attributes;  // an _ stands for a blank
    const char* logged;
  } cases[] = {
      {"ACPI, charges: github.com/i3/i3/issues/1159",
       "status=Unknown voltage_min_design=11100000 voltage_now=12439000 current_now=1000 "
       "charge_full_design=4000000 charge_full=3328000 charge_now=3328000 capacity=100",
       "100.00% 12439 mV 1 mA of 3328, Inactive 1 mA 0.00 C"},
      {"ACPI, a worn battery: github.com/i3/i3status/issues/288",
       "status=Charging voltage_min_design=11100000 voltage_now=12796000 current_now=2977000 "
       "charge_full_design=5600000 charge_full=1802000 charge_now=501000 capacity=27",
       "27.80% 12796 mV 2977 mA of 1802, Active 2977 mA 0.00 C"},
      {"ACPI, energies: github.com/jaor/xmobar/issues/315",
       "status=Discharging voltage_min_design=11250000 voltage_now=10459000 power_now=27758000 "
       "energy_full_design=23510000 energy_full=25860000 energy_now=2420000 capacity=9",
       "9.36% 10459 mV -2654 mA of 2299, Inactive -2654 mA 0.00 C"},
      {"ACPI, more than full, no level: github.com/i3/i3/issues/775",
       "status=Unknown voltage_min_design=11100000 voltage_now=12868000 power_now=0 "
       "energy_full_design=93600000 energy_full=93550000 energy_now=93790000",
       "100.00% 12868 mV 0 mA of 8428, Inactive 0 mA 0.00 C"},
      {"ACPI, Surface: github.com/polybar/polybar/issues/1123",
       "status=Discharging voltage_min_design=7500000 voltage_now=7159000 power_now=10455000 "
       "energy_full_design=38152000 energy_full=32797000 energy_now=6952000 capacity=21",
       "21.20% 7159 mV -1460 mA of 4373, Inactive -1460 mA 0.00 C"},
      {"ACPI, tablet, magnitudes: github.com/sebanc/brunch/issues/117",
       "status=Discharging voltage_min_design=3800000 voltage_now=3942000 current_now=1560000 "
       "charge_full_design=8000000 charge_full=8000000 charge_now=5920000 capacity=74",
       "74.00% 3942 mV -1560 mA of 8000, Inactive -1560 mA 0.00 C"},
      {"sbs-battery: lore.kernel.org/all/20200513185615.508236-1-sebastian.reichel@collabora.com",
       "status=Discharging health=Good cycle_count=12 voltage_now=11441000 current_now=-26000 "
       "current_avg=-24000 capacity=76 temp=198 voltage_min_design=10800000 energy_now=31090000 "
       "energy_full=42450000 charge_now=2924000 charge_full=3898000 charge_full_design=3800000",
       "75.01% 11441 mV -26 mA of 3898, Inactive -24 mA 19.80 C"},
      {"bq27000, registers read wrongly: kernel commit 549d7b317c761dbf4ed0c2945aec3acc9ca7ae14",
       "status=Charging voltage_now=3702000 current_now=-464635 capacity=1536 temp=311 "
       "charge_full=805450 charge_now=1068 charge_full_design=8844998 energy_now=0 power_avg=0",
       "0.13% 3702 mV 465 mA of 805, Active 465 mA 31.10 C"},
      {"bq27000, no answer: lore.kernel.org/all/cover.1588948099.git.hns@goldelico.com",
       "status=Discharging voltage_now=0 current_now=0 capacity=0 temp=-2731 charge_full=0 "
       "charge_now=0 charge_full_design=0 energy_now=0 health=Good",
       "0.00% 0 mV 0 mA of 100, Inactive 0 mA 0.00 C"},
      {"bq27000, never calibrated: the comment on uevent files in neohardware.cpp of QtMoko",
       "status=Full voltage_now=65535000 current_now=-11697997 temp=161106 charge_now=11697997 "
       "charge_full_design=11652480",
       "100.00% 65535 mV ?, Full -11698 mA 0.00 C"},
      {"axp288_fuel_gauge: github.com/i3/i3status/issues/215",
       "status=Discharging health=Good voltage_now=3872000 current_now=-928000 capacity=75 "
       "charge_full=6404944 charge_now=4816448",
       "75.20% 3872 mV -928 mA of 6405, Inactive -928 mA 0.00 C"},
      {"pmi8998-fg: github.com/sdm660-mainline/linux/pull/131",
       "status=Full voltage_min_design=3400000 voltage_now=4336658 current_now=-19531 "
       "charge_full_design=4000000 capacity=99 temp=263",
       "99.00% 4337 mV ?, Full -20 mA 26.30 C"},
      {"qcom_battmgr: github.com/harrisonvanderbyl/surface-pro-12-inch-linux/issues/5",
       "status=Not_charging voltage_now=7734000 power_now=0 energy_full_design=37450000 "
       "energy_full=38680000 energy_now=38680000 temp=301",
       "100.00% 7734 mV 0 mA of 5001, Not charging 0 mA 30.10 C"},
      {"cw2015: github.com/Alexays/Waybar/issues/966",
       "status=Charging capacity=96 voltage_now=4151000 charge_counter=1 charge_full=9800000 "
       "charge_full_design=9800000 current_now=0",
       "96.00% 4151 mV 0 mA of 9800, Active 0 mA 0.00 C"},
      {"rk817, averages only (names only, the figures are ours): "
       "github.com/Alexays/Waybar/pull/1495",
       "status=Discharging charge_full=4000000 charge_now=1000000 charge_full_design=4000000 "
       "current_avg=-300000 voltage_avg=3700000 voltage_ocv=3750000",
       "25.00% 3700 mV -300 mA of 4000, Inactive -300 mA 0.00 C"},
      {"axp20x, Olimex Lime2, no battery: linux-arm-kernel, Priit Laes, 2019-05-28",
       "present=0 status=Not_charging voltage_now=0 current_now=0 health=Good capacity=100", "out"},
      {"macsmc, a charge of 652 %: github.com/AsahiLinux/linux/issues/522",
       "status=Discharging capacity=100 charge_now=34067000 charge_full=5225000 "
       "energy_now=388363800 energy_full=59565000",
       "100.00% -1 mV ?, Inactive 0 mA 0.00 C"},
      {"max17040, past full, its voltage unscaled: github.com/raspberrypi/linux/issues/2906",
       "status=Unknown capacity=101 voltage_now=53744", "100.00% 54 mV ?, Inactive 0 mA 0.00 C"},
  };
  LoopForTest loop;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    const DirectoryForTest supplies;
    supplies.write("battery/type", "Battery\n");
    std::istringstream readout(c.attributes);
    std::string uevent;
    for (std::string item; readout >> item;) {
      const std::string name = item.substr(0, item.find('='));
      std::string value = item.substr(name.size() + 1) + "\n";
      std::ranges::replace(value, '_', ' ');
      supplies.write("battery/" + name, value);
      uevent += "POWER_SUPPLY_" + upper(name) + "=" + value;
    }
    supplies.write("battery/uevent", uevent);
    LinuxPowerSource source(loop.event(), supplies / "", nullptr);
    EXPECT_EQ(logged(source), c.logged);
  }
}

TEST_F(LinuxPowerSourceTest, CountsTheBatteriesOfTheDevice) {
  if (outside()) return;
  LinuxDeviceRegistry registry(loop_.event());
  int appeared = 0;
  const Registration late = registry.observeFirstPowerSource([&] { ++appeared; });
  add("AC", "Mains");
  report(add("mouse", "Battery", "Device"), "capacity", "50");
  report(add("bq24190-battery"), "status", "Charging");
  announce("/sys/devices/bq24190-battery", "add");
  EXPECT_EQ(registry.firstPowerSource(), nullptr);
  EXPECT_FALSE(registry.hasGasGauge());
  EXPECT_EQ(appeared, 0);

  const std::string first = addBattery("BAT0", 90, "");
  announce(first, "add");
  EXPECT_EQ(appeared, 0) << "seen before its type is there";
  set(first, "type", "Battery\n");
  announce(first);
  EXPECT_EQ(appeared, 1);
  const auto source = registry.firstPowerSource();
  EXPECT_EQ(shown(*source), 90);
  EXPECT_TRUE(registry.hasGasGauge());
  const std::string second = addBattery("BAT1", 10);
  loop_.drain();
  EXPECT_EQ(shown(*source), 50);
  EXPECT_EQ(source->readProperty("InstantAmperage"), Value(-500));
  report(second, "present", "0");
  loop_.drain();
  EXPECT_EQ(shown(*source), 90);
  report(first, "present", "0");
  loop_.drain();
  EXPECT_NE(registry.firstPowerSource(), nullptr) << "bays";
  EXPECT_TRUE(registry.hasGasGauge()) << "asked once, before a battery is put in";
  Dictionary none;
  EXPECT_EQ(source->readProperties(none), kRegistryNoDevice);
}

// Firmware's gauges answer each attribute with a request of their own.
TEST_F(LinuxPowerSourceTest, AnEventBringsTheState) {
  if (outside()) return;
  const std::string device = addBattery("BAT0", 50);
  const auto source = std::make_shared<LinuxPowerSource>(
      loop_.event(), LinuxDeviceRegistry::kPowerSupplies, nullptr,
      LinuxPowerSource::Pace{.stale = 0ms, .drifts = 500ms});
  watch(source);
  umockdev_testbed_set_property(kernel_, device.c_str(), "POWER_SUPPLY_CHARGE_NOW", "480000");
  send(device, "change");
  set(device, "charge_now", "10000\n");
  std::ofstream("/sys/class/power_supply/BAT0/uevent", std::ios::trunc).flush();
  loop_.drain();
  EXPECT_EQ(levels_, Levels{48}) << "nothing is read";
  // Nothing in the event: a gauge that failed while it was asked for one of its figures.
  for (const char* name : {"STATUS", "CHARGE_NOW", "CHARGE_FULL", "VOLTAGE_NOW", "CURRENT_NOW"}) {
    const std::string variable = std::string("POWER_SUPPLY_") + name;
    umockdev_testbed_set_property(kernel_, device.c_str(), variable.c_str(), "");
  }
  std::ofstream("/sys/class/power_supply/BAT0/uevent", std::ios::trunc).flush();
  level(device, 30, "change");
  EXPECT_EQ(levels_, (Levels{48, 30}));
  // A drift is held back, but not lost.
  report(device, "current_now", "-300000");
  announce(device);
  EXPECT_EQ(levels_.size(), 2);
  loop_.runUntil([&] { return levels_.size() == 3; });
  const std::string other = addBattery("BAT1", 90);
  source->systemDidWake();
  loop_.drain();
  level(other, 70);
  announce(device);
  EXPECT_EQ(levels_, (Levels{48, 30, 30, 60, 50})) << "old figures of the others are read";
}

TEST_F(LinuxPowerSourceTest, ASilentDriverIsLookedAt) {
  if (outside()) return;
  PrivateBusForTest bus;
  bus.start();
  constexpr const char* kService = "org.freedesktop.UPower";
  constexpr const char* kObject = "/org/freedesktop/UPower/devices/battery_axp20x";
  constexpr const char* kDevice = "org.freedesktop.UPower.Device";
  const auto upower = bus.startService(kService, kObject, kDevice);
  LinuxBus client(loop_.event(), bus.address());
  const std::string device = addBattery("axp20x-battery", 80);
  const std::string charger = add("axp20x-usb", "USB");
  LinuxPowerSource::Pace pace{.settled = 400ms, .coarse = 24h, .slack = 0ms};
  const auto source = std::make_shared<LinuxPowerSource>(
      loop_.event(), LinuxDeviceRegistry::kPowerSupplies, &client, pace);
  watch(source);
  const auto comes = [&](int percent) {
    loop_.runUntil([&] { return !levels_.empty() && levels_.back() == percent; });
  };
  // UPower's refresh: of its signals the first is enough, and no timer follows.
  level(device, 79);
  std::uint64_t time = 1;
  bus.call(kService, kObject, PrivateBusForTest::kMock, "AddProperty", "ssv", kDevice, "UpdateTime",
           "t", time);
  const auto refresh = [&] {
    for (int signal = 0; signal < 2; ++signal) {
      ASSERT_GE(bus.call(kService, kObject, PrivateBusForTest::kMock, "UpdateProperties", "sa{sv}",
                         kDevice, 1, "UpdateTime", "t", ++time),
                0);
    }
  };
  refresh();
  comes(79);
  level(device, 78);
  wait(500ms);
  EXPECT_EQ(levels_, Levels{79});
  // The charger's event, before and after the battery has noticed it.
  announce(charger);
  level(device, 77);
  comes(77);
  level(device, 70);
  source->systemWillSleep();
  level(device, 65);
  source->systemDidWake();
  level(device, 64, "change");  // an event of its own after all
  wait(500ms);
  level(device, 63);
  refresh();
  wait(50ms);
  EXPECT_EQ(levels_, (Levels{79, 78, 77, 70, 65, 64}));
}

TEST_F(LinuxPowerSourceTest, ASilentDriverIsReadFromTimeToTime) {
  if (outside()) return;
  const std::string device = addBattery("axp20x-battery", 80);
  const auto source = std::make_shared<LinuxPowerSource>(
      loop_.event(), LinuxDeviceRegistry::kPowerSupplies, nullptr,
      LinuxPowerSource::Pace{.settled = 24h, .coarse = 50ms, .slack = 0ms});
  watch(source);
  level(device, 79);
  wait(150ms);
  EXPECT_EQ(levels_, Levels{}) << "not proven yet";
  source->systemWillSleep();
  const auto isRead = [&](int percent) {
    level(device, percent);
    loop_.runUntil([&] { return levels_.back() == percent; });
  };
  isRead(78);
  isRead(77);
  report(device, "status", "Full");
  isRead(76);
  level(device, 75);
  wait(150ms);
  EXPECT_EQ(levels_.back(), 76) << "not while it is full";
  report(device, "present", "0");
  report(device, "status", "Discharging");
  source->systemDidWake();
  report(device, "present", "1");
  wait(150ms);
  EXPECT_EQ(levels_.back(), -1) << "nor while it is out";
  source->systemDidWake();
  isRead(74);
  level(device, 73, "change");  // an event of its own after all
  level(device, 72);
  wait(150ms);
  EXPECT_EQ(levels_, (Levels{79, 78, 77, 76, -1, 75, 74, 73}));
}

TEST(SupplyReader, AGaugeThatTakesSecondsRests) {
  const DirectoryForTest directory;
  SupplyReader::Time now{};
  const auto write = [&](const char* name, const char* text) { directory.write(name, text); };
  SupplyReader gauge(directory / "", [&] { return now += 2s; });
  write("uevent", "POWER_SUPPLY_NAME=slow\nPOWER_SUPPLY_CAPACITY=50\n");
  gauge.read();
  write("uevent", "POWER_SUPPLY_NAME=slow\nPOWER_SUPPLY_CAPACITY=49\n");
  gauge.read();
  EXPECT_EQ(gauge("capacity"), "50");
  now += 20s;
  gauge.read();
  EXPECT_EQ(gauge("capacity"), "49");

  // One by one, which is given up after the first; the others keep what they were.
  write("uevent", "");
  write("status", "Charging\n");
  write("capacity", "10\n");
  now += 1min;
  gauge.read();
  EXPECT_EQ(gauge("capacity"), "49");
  // Not now, but a moment ago.
  SupplyReader quick(directory / "");
  quick.read();
  EXPECT_EQ(quick("capacity"), "10");
  write("uevent", "POWER_SUPPLY_NAME=slow\n");
  quick.read();
  EXPECT_EQ(quick("capacity"), "10");
  EXPECT_EQ(quick("status"), std::nullopt);
  write("uevent", "POWER_SUPPLY_PRESENT=0\n");
  quick.read();
  write("uevent", "POWER_SUPPLY_PRESENT=1\n");
  quick.read();
  EXPECT_EQ(quick("capacity"), std::nullopt) << "of another battery";
  EXPECT_FALSE(quick.hasGasGauge());
  write("charge_full", "");
  write("current_now", "");
  EXPECT_TRUE(quick.hasGasGauge()) << "whether or not they can be read";
}

// An hour of two events a second, of a driver whose every event has other figures.
TEST(PowerSourceNews, AStormIsOnceAMinute) {
  const auto state = [](double level, int voltage, const char* chargeStatus = nullptr) {
    Dictionary now{{"CurrentCapacity", level}, {"MaxCapacity", 100.0}, {"Voltage", voltage}};
    if (chargeStatus) now.set("ChargeStatus", chargeStatus);
    return now;
  };
  using Occasion = PowerSourceNews::Occasion;
  PowerSourceNews news(state(80, 0));
  PowerSourceNews::Time now{};
  int reported = 0;
  Dictionary last;
  const auto see = [&](Occasion occasion, const Dictionary& seen) {
    if (news.isNews(occasion, seen, false, now)) {
      ++reported;
      last = seen;
    }
  };
  int event = 0;
  for (; event < 7200; ++event, now += 500ms) {
    if (news.heldUntil() && now >= *news.heldUntil()) see(Occasion::Held, state(80, event));
    see(Occasion::OwnEvent, state(80.0 + event / 10'000.0, event));
  }
  EXPECT_GE(reported, 59);
  EXPECT_LE(reported, 70);
  ASSERT_TRUE(news.heldUntil());
  now = *news.heldUntil();
  see(Occasion::Held, state(80, event));
  EXPECT_EQ(last, state(80, event)) << "the last state is never lost";
  EXPECT_FALSE(news.heldUntil());
  // What has a meaning is news at once; what is equal is none.
  reported = 0;
  see(Occasion::OwnEvent, state(80, event));
  see(Occasion::Look, state(80, event + 1));
  EXPECT_EQ(reported, 0);
  EXPECT_FALSE(news.heldUntil());
  see(Occasion::OwnEvent, state(80, event, "HighTemperature"));
  see(Occasion::OwnEvent, state(79.99, event, "HighTemperature"));
  see(Occasion::Look, {});
  EXPECT_EQ(reported, 3);
  // On the edge between two percents.
  reported = 0;
  now += 1min;
  for (const int end = event + 7200; event < end; ++event, now += 500ms) {
    if (news.heldUntil() && now >= *news.heldUntil()) see(Occasion::Held, last);
    see(Occasion::OwnEvent, state(event % 2 == 0 ? 79.99 : 80.01, event));
  }
  EXPECT_GE(reported, 59);
  EXPECT_LE(reported, 70);
}

TEST(PowerSourceNews, LearnsWhetherTheDriverSendsEvents) {
  using Occasion = PowerSourceNews::Occasion;
  using Driver = PowerSourceNews::Driver;
  const auto state = [](int level, bool charging) {
    return Dictionary{{"CurrentCapacity", level}, {"MaxCapacity", 100}, {"IsCharging", charging}};
  };
  PowerSourceNews news(state(80, false));
  const struct {
    const char* what;
    Occasion occasion;
    int level;
    bool charging, slept;
    Driver driver;
  } steps[] = {
      {"a sleep's loss", Occasion::Look, 75, false, true, Driver::Unproven},
      {"nothing moved", Occasion::Look, 75, false, false, Driver::Unproven},
      {"firmware that speaks when plugged", Occasion::OwnEvent, 60, true, false, Driver::Silent},
      {"unplugged", Occasion::OwnEvent, 61, false, false, Driver::Silent},
      {"a percent", Occasion::OwnEvent, 60, false, false, Driver::Eventful},
      {"a look before its event", Occasion::Look, 59, false, false, Driver::Eventful},
      {"the event", Occasion::OwnEvent, 59, false, false, Driver::Eventful},
      {"a sleep's loss", Occasion::OwnEvent, 50, false, true, Driver::Eventful},
      {"seen elsewhere", Occasion::Look, 49, false, false, Driver::Eventful},
      {"and no event for it", Occasion::Look, 48, false, false, Driver::Silent},
  };
  PowerSourceNews::Time now{};
  for (const auto& step : steps) {
    news.isNews(step.occasion, state(step.level, step.charging), step.slept, now += 1min);
    EXPECT_EQ(news.driver(), step.driver) << step.what;
  }
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/PowerSupply.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "platform/assemble/SimHandset.h"

namespace zorva {
namespace {

// Attributes as a test writes them: "status=Not_charging temp=1", with _ for a blank.
SysfsAttributes attributes(const std::string& text) {
  return [text = " " + text + " "](const std::string& name) -> std::optional<std::string> {
    const std::size_t found = text.find(" " + name + "=");
    if (found == text.npos) return std::nullopt;
    const std::size_t start = found + name.size() + 2;
    std::string value = text.substr(start, text.find(' ', start) - start);
    std::ranges::replace(value, '_', ' ');
    return value;
  };
}

Dictionary published(const SysfsAttributes& attributes) {
  CurrentSign sign;
  return powerSourceProperties(readBattery(attributes, sign));
}

TEST(PowerSupply, PublishesWhatTheKernelTells) {
  const struct {
    const char* name;
    const char* attributes;
    const char* properties;
  } cases[] = {
      {"handset",
       "status=Discharging health=Good capacity=12 capacity_level=Normal charge_now=1234000 "
       "charge_full=1400000 charge_full_design=1500400 current_now=250600 current_avg=-199400 "
       "voltage_now=3921499 temp=295 cycle_count=321",
       "{CurrentCapacity = 1234; MaxCapacity = 1400; DesignCapacity = 1500; "
       "VennorRawCurrentCapacity = 1234; VennorRawMaxCapacity = 1400; InstantAmperage = -251; "
       "Amperage = -199; Voltage = 3921; VennorRawBatteryVoltage = 3921; Temperature = 2950; "
       "CycleCount = 321; IsCharging = 0; FullyCharged = 0; AtCriticalLevel = 0;}"},
      {"energy: 50 Wh at the nominal 10 V are 5000 mAh, 11 W at 11 V are 1000 mA",
       "status=Charging energy_now=25000000 energy_full=50000000 energy_full_design=60000000 "
       "voltage_min_design=10000000 voltage_now=11000000 power_now=11000000 capacity=50",
       "{CurrentCapacity = 2500; MaxCapacity = 5000; DesignCapacity = 6000; "
       "VennorRawCurrentCapacity = 2500; VennorRawMaxCapacity = 5000; InstantAmperage = 1000; "
       "Amperage = 1000; Voltage = 11000; VennorRawBatteryVoltage = 11000; IsCharging = 1; "
       "FullyCharged = 0; AtCriticalLevel = 0;}"},
      {"energy at the present voltage",
       "energy_now=20000000 energy_full=40000000 voltage_min_design=0 voltage_now=4000000",
       "{CurrentCapacity = 5000; MaxCapacity = 10000; VennorRawCurrentCapacity = 5000; "
       "VennorRawMaxCapacity = 10000; Voltage = 4000; VennorRawBatteryVoltage = 4000;}"},
      {"percent only; critical by its own account",
       "status=Full capacity=97 capacity_level=Critical voltage_now=4200000 current_now=-5000",
       "{CurrentCapacity = 97; MaxCapacity = 100; InstantAmperage = -5; Amperage = -5; "
       "Voltage = 4200; VennorRawBatteryVoltage = 4200; IsCharging = 0; FullyCharged = 1; "
       "AtCriticalLevel = 1;}"},
      {"percent of a full charge", "capacity=25 charge_full=3000000 current_now=7000",
       "{CurrentCapacity = 750; MaxCapacity = 3000; VennorRawMaxCapacity = 3000; "
       "InstantAmperage = 7; Amperage = 7; AtCriticalLevel = 0;}"},
      {"full charge known by design only",
       "charge_now=1000000 charge_full=0 charge_full_design=4000000 current_now=1",
       "{CurrentCapacity = 1000; MaxCapacity = 4000; DesignCapacity = 4000; "
       "VennorRawCurrentCapacity = 1000; InstantAmperage = 0; Amperage = 0;}"},
      {"neither charge nor level", "charge_full=3000000 current_now=7000",
       "{VennorRawMaxCapacity = 3000; InstantAmperage = 7; Amperage = 7;}"},
      {"charge without any full charge", "charge_now=1000000 capacity=2 status=Unknown",
       "{CurrentCapacity = 2; MaxCapacity = 100; VennorRawCurrentCapacity = 1000; "
       "IsCharging = 0; FullyCharged = 0; AtCriticalLevel = 1;}"},
      {"frost, and energy without a voltage", "temp=-105 energy_now=20000000 energy_full=40000000",
       "{Temperature = -1050;}"},
      {"nonsense",
       "charge_now=99999999999999999999 charge_full=12mAh current_now= "
       "current_avg=9223372036854775807 voltage_now=-3000000 temp=214748365 cycle_count=-1 "
       "capacity=1536 status= health= energy_now=_5 charge_full_design=0x10 power_now=nan",
       "{}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Value(published(attributes(c.attributes))).description(), c.properties);
  }
}

// The level as its readers compute it.
double level(const SysfsAttributes& supply) {
  const Dictionary properties = published(supply);
  return properties["CurrentCapacity"].real() * 100.0 / properties["MaxCapacity"].real();
}

TEST(PowerSupply, NoWholePercentIsLost) {
  SimHandset handset;
  int lost = 0;
  for (int full = 1; full <= 12000; full += 7) {
    for (int percent = 1; percent <= 100; ++percent) {
      const auto supply = [&](const std::string& name) -> std::optional<std::string> {
        if (name == "charge_full") return std::to_string(full) + "000";
        return name == "capacity" ? std::optional(std::to_string(percent)) : std::nullopt;
      };
      const auto measured = [&](const std::string& name) -> std::optional<std::string> {
        if (name == "energy_full") return std::to_string(full) + "000";
        if (name == "energy_now") return std::to_string(full * 10 * percent);
        return name == "voltage_now" ? std::optional("3850000") : std::nullopt;
      };
      handset.battery().setMaxCapacity(full);
      handset.battery().setLevel(percent);
      const Value simulated = handset.battery().entry().properties()["CurrentCapacity"];
      for (const double shown : {level(supply), level(measured), simulated.real() * 100.0 / full}) {
        if (shown < percent || shown > percent + 1e-6) ++lost;
      }
    }
  }
  EXPECT_EQ(lost, 0);
}

TEST(PowerSupply, TellsWhatHindersCharging) {
  const std::pair<const char*, Value> cases[] = {
      {"health=Good status=Discharging", {}},
      {"health=Unknown status=Charging", {}},
      {"health=Good status=Not_charging", "Not charging"},
      {"health=Over_voltage status=Discharging", "Over voltage"},
      {"health=Overheat status=Not_charging", "HighTemperature"},
      {"health=Hot", "HighTemperature"},
      {"health=Warm", "HighTemperature"},
      {"health=Cold status=Full", "LowTemperature"},
      {"health=Cool", "LowTemperature"},
  };
  for (const auto& [text, status] : cases) {
    EXPECT_EQ(published(attributes(text))["ChargeStatus"], status) << text;
  }
}

// A ThinkPad T480 on its external battery: the internal one is idle at 94 %.
TEST(PowerSupply, SeveralBatteriesAreOne) {
  const char* const internal =
      "status=Unknown health=Good energy_now=22560000 energy_full=24000000 "
      "energy_full_design=24000000 voltage_min_design=11400000 voltage_now=12800000 power_now=0 "
      "cycle_count=90 temp=250";
  const char* const external =
      "status=Discharging health=Good energy_now=600000 energy_full=72000000 "
      "energy_full_design=96000000 voltage_min_design=10800000 voltage_now=10500000 "
      "power_now=10500000 cycle_count=300 temp=300";
  const struct {
    const char* name;
    std::vector<const char*> batteries;
    const char* properties;
  } cases[] = {
      // 23.16 of 96 Wh. 24 Wh at 11.4 V and 72 Wh at 10.8 V are 8772 mAh.
      {"energies",
       {internal, external},
       "{CurrentCapacity = 2116; MaxCapacity = 8772; DesignCapacity = 10994; "
       "VennorRawCurrentCapacity = 2116; VennorRawMaxCapacity = 8772; InstantAmperage = -1000; "
       "Amperage = -1000; Voltage = 10500; VennorRawBatteryVoltage = 10500; Temperature = 3000; "
       "CycleCount = 300; IsCharging = 0; FullyCharged = 0; AtCriticalLevel = 0;}"},
      {"charges; one charges, with the other's power at its own voltage",
       {"status=Charging charge_now=1000000 charge_full=2000000 voltage_now=4000000 "
        "current_now=1000000 capacity_level=Critical",
        "status=Full charge_now=2000000 charge_full=2000000 voltage_now=8000000 "
        "current_now=100000"},
       "{CurrentCapacity = 3333; MaxCapacity = 4000; VennorRawCurrentCapacity = 3333; "
       "VennorRawMaxCapacity = 4000; InstantAmperage = 1200; Amperage = 1200; Voltage = 4000; "
       "VennorRawBatteryVoltage = 4000; IsCharging = 1; FullyCharged = 0; AtCriticalLevel = 0;}"},
      {"levels alone; the weakest has the cycles, anyone's overheating counts",
       {"status=Not_charging capacity=80 cycle_count=5", "status=Full capacity=100 health=Hot"},
       "{CurrentCapacity = 90; MaxCapacity = 100; CycleCount = 5; IsCharging = 0; FullyCharged = "
       "0; AtCriticalLevel = 0; ChargeStatus = HighTemperature;}"},
      {"the share of a charge beside a level",
       {"status=Discharging charge_now=500000 charge_full=2000000", "status=Full capacity=75"},
       "{CurrentCapacity = 50; MaxCapacity = 100; IsCharging = 0; FullyCharged = 0; "
       "AtCriticalLevel = 0;}"},
      {"both at their end",
       {"status=Full capacity=2 capacity_level=Critical",
        "status=Full capacity=2 "
        "capacity_level=Critical"},
       "{CurrentCapacity = 2; MaxCapacity = 100; IsCharging = 0; FullyCharged = 1; "
       "AtCriticalLevel = 1;}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<Battery> batteries;
    for (const char* each : c.batteries) {
      CurrentSign sign;
      batteries.push_back(readBattery(attributes(each), sign));
    }
    Dictionary properties = powerSourceProperties(combined(batteries));
    for (const char* key : {"CurrentCapacity", "MaxCapacity"}) {
      properties.set(key, Value(std::round(properties[key].real())));
    }
    EXPECT_EQ(Value(properties).description(), c.properties);
  }
}

TEST(PowerSupply, ALossUnderAWeakChargerIsNoGain) {
  using Seen = std::pair<const char*, double>;
  const struct {
    const char* driver;
    std::vector<Seen> seen;
    double underTheCharger;  // shown for what the driver then says
    double says;
  } cases[] = {
      {"unknown yet: charging is a gain", {}, 300, -300},
      {"as documented", {{"Discharging", -200}}, -300, -300},
      {"as documented, with a status that lags behind the charger",
       {{"Charging", -300}, {"Discharging", -200}, {"Discharging", -200}, {"Discharging", 900}},
       900,
       900},
      {"magnitudes only", {{"Discharging", 200}}, 300, 300},
      {"the opposite sign", {{"Discharging", 200}, {"Charging", -900}}, -300, 300},
      {"the opposite sign, seen first while charging",
       {{"Charging", -900}, {"Discharging", 200}},
       -300,
       300},
  };
  for (const auto& c : cases) {
    CurrentSign sign;
    for (const auto& [status, current] : c.seen) {
      EXPECT_EQ(sign.withDirection(current, status) < 0, status[0] == 'D') << c.driver;
    }
    EXPECT_EQ(sign.withDirection(c.says, "Charging"), c.underTheCharger) << c.driver;
  }
  CurrentSign sign;
  readBattery(attributes("status=Discharging current_now=-200000 current_avg=100000"), sign);
  const Battery battery = readBattery(attributes("status=Charging current_now=-300000"), sign);
  EXPECT_EQ(battery.current, -300) << "an average lags behind";
}

}  // namespace
}  // namespace zorva

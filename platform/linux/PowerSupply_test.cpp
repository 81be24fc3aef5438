#include "platform/linux/PowerSupply.h"

#include <gtest/gtest.h>
#include <map>

namespace zorva {
namespace {

using Attributes = std::map<std::string, std::string>;

SupplyAttributes of(const Attributes& attributes) {
  return [&attributes](const std::string& name) -> std::optional<std::string> {
    const auto found = attributes.find(name);
    if (found == attributes.end()) return std::nullopt;
    return found->second;
  };
}

struct Case {
  const char* name;
  Attributes attributes;
  Dictionary properties;
  bool gasGauge;
};

const Case kCases[] = {
    {"Handset",
     {{"status", "Discharging"},
      {"health", "Good"},
      {"capacity", "12"},
      {"charge_now", "1234000"},
      {"charge_full", "1400000"},
      {"charge_full_design", "1500400"},
      {"current_now", "250600"},
      {"current_avg", "-199400"},
      {"voltage_now", "3921499"},
      {"temp", "295"},
      {"cycle_count", "321"},
      {"capacity_level", "Normal"}},
     {{"CurrentCapacity", 1234.0},
      {"MaxCapacity", 1400.0},
      {"DesignCapacity", 1500},
      {"VennorRawCurrentCapacity", 1234},
      {"VennorRawMaxCapacity", 1400},
      {"InstantAmperage", -251},
      {"Amperage", -199},
      {"Voltage", 3921},
      {"VennorRawBatteryVoltage", 3921},
      {"Temperature", 2950},
      {"CycleCount", 321},
      {"IsCharging", false},
      {"FullyCharged", false},
      {"AtCriticalLevel", false}},
     true},
    // A laptop that counts energy: 50 Wh at 10 V are 5000 mAh, 11 W at 11 V are 1000 mA.
    {"EnergyAtNominalVoltage",
     {{"status", "Charging"},
      {"energy_now", "25000000"},
      {"energy_full", "50000000"},
      {"energy_full_design", "60000000"},
      {"voltage_min_design", "10000000"},
      {"voltage_now", "11000000"},
      {"power_now", "11000000"},
      {"capacity", "50"}},
     {{"CurrentCapacity", 2500.0},
      {"MaxCapacity", 5000.0},
      {"DesignCapacity", 6000},
      {"VennorRawCurrentCapacity", 2500},
      {"VennorRawMaxCapacity", 5000},
      {"InstantAmperage", 1000},
      {"Amperage", 1000},
      {"Voltage", 11000},
      {"VennorRawBatteryVoltage", 11000},
      {"IsCharging", true},
      {"FullyCharged", false},
      {"AtCriticalLevel", false}},
     true},
    {"EnergyAtPresentVoltage",
     {{"energy_now", "20000000"},
      {"energy_full", "40000000"},
      {"voltage_min_design", "0"},
      {"voltage_now", "4000000"}},
     {{"CurrentCapacity", 5000.0},
      {"MaxCapacity", 10000.0},
      {"VennorRawCurrentCapacity", 5000},
      {"VennorRawMaxCapacity", 10000},
      {"Voltage", 4000},
      {"VennorRawBatteryVoltage", 4000}},
     false},
    {"EnergyWithoutVoltage", {{"energy_now", "20000000"}, {"energy_full", "40000000"}}, {}, false},
    {"PercentOnly",
     {{"status", "Full"}, {"capacity", "97"}, {"voltage_now", "4200000"}, {"current_now", "-5000"}},
     {{"CurrentCapacity", 97.0},
      {"MaxCapacity", 100.0},
      {"InstantAmperage", -5},
      {"Amperage", -5},
      {"Voltage", 4200},
      {"VennorRawBatteryVoltage", 4200},
      {"IsCharging", false},
      {"FullyCharged", true},
      {"AtCriticalLevel", false}},
     false},
    {"PercentOfFull",
     {{"capacity", "25"}, {"charge_full", "3000000"}, {"current_now", "7000"}},
     {{"CurrentCapacity", 750.0},
      {"MaxCapacity", 3000.0},
      {"VennorRawMaxCapacity", 3000},
      {"InstantAmperage", 7},
      {"Amperage", 7},
      {"AtCriticalLevel", false}},
     true},
    {"OnlyTheDesignedChargeIsKnown",
     {{"charge_now", "1000000"},
      {"charge_full", "0"},
      {"charge_full_design", "4000000"},
      {"current_now", "1"}},
     {{"CurrentCapacity", 1000.0},
      {"MaxCapacity", 4000.0},
      {"DesignCapacity", 4000},
      {"VennorRawCurrentCapacity", 1000},
      {"InstantAmperage", 0},
      {"Amperage", 0}},
     false},
    {"CountedChargeWithoutFull",
     {{"charge_now", "1000000"}, {"capacity", "2"}},
     {{"CurrentCapacity", 2.0},
      {"MaxCapacity", 100.0},
      {"VennorRawCurrentCapacity", 1000},
      {"AtCriticalLevel", true}},
     false},
    {"CriticalByItsOwnAccount",
     {{"capacity", "9"}, {"capacity_level", "Critical"}, {"status", "Unknown"}},
     {{"CurrentCapacity", 9.0},
      {"MaxCapacity", 100.0},
      {"IsCharging", false},
      {"FullyCharged", false},
      {"AtCriticalLevel", true}},
     false},
    {"Frost", {{"temp", "-105"}}, {{"Temperature", -1050}}, false},
    {"Nonsense",
     {{"charge_now", "99999999999999999999"},
      {"charge_full", "12mAh"},
      {"current_now", ""},
      {"current_avg", "9223372036854775807"},
      {"voltage_now", "-3000000"},
      {"temp", "214748365"},
      {"cycle_count", "-1"},
      {"capacity", "101"},
      {"status", ""},
      {"health", ""},
      {"energy_now", " 5"},
      {"charge_full_design", "0x10"},
      {"power_now", "nan"}},
     {},
     false},
};

TEST(PowerSupply, PublishesWhatTheKernelTells) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Dictionary properties = powerSourceProperties(of(c.attributes));
    EXPECT_EQ(Value(properties).description(), Value(c.properties).description());
    EXPECT_EQ(supplyHasGasGauge(of(c.attributes)), c.gasGauge);
    for (const auto& [key, value] : properties) {
      EXPECT_EQ(powerSourceProperty(key, of(c.attributes)), value) << key;
    }
  }
}

TEST(PowerSupply, TellsWhatHindersCharging) {
  const struct {
    const char* health;
    const char* status;
    Value chargeStatus;
  } cases[] = {
      {"Good", "Discharging", {}},
      {"Unknown", "Charging", {}},
      {"Good", "Not charging", "Not charging"},
      {"Overheat", "Not charging", "HighTemperature"},
      {"Hot", "Charging", "HighTemperature"},
      {"Warm", "Discharging", "HighTemperature"},
      {"Cold", "Not charging", "LowTemperature"},
      {"Cool", "Full", "LowTemperature"},
      {"Over voltage", "Discharging", "Over voltage"},
      {"Dead", "Not charging", "Dead"},
  };
  for (const auto& c : cases) {
    const Attributes attributes{{"health", c.health}, {"status", c.status}};
    EXPECT_EQ(powerSourceProperty("ChargeStatus", of(attributes)), c.chargeStatus)
        << c.health << ", " << c.status;
  }
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/PowerSupply.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include "platform/registry/PowerSourceCharge.h"

namespace zorva {
namespace {

// Below this level, in percent, a battery whose gauge has no opinion of its own is critical: where
// desktops put the machine to sleep.
constexpr double kCriticalPercent = 2;

// A charge or an energy as the driver reports it.
struct Amount {
  double milliampereHours;
  double raw;  // uAh or uWh
  bool energy;
};

// A supply's attributes as numbers and words. What is no number, or no plausible one, is treated as
// missing, so that a driver's nonsense never becomes a figure in the log.
class Supply {
 public:
  explicit Supply(const SysfsAttributes& attributes) : attributes_(attributes) {}

  std::string word(const std::string& name) const { return attributes_(name).value_or(""); }

  std::optional<double> number(const std::string& name) const {
    const auto number = wholeNumber(attributes_(name));
    if (!number) return std::nullopt;
    return static_cast<double>(*number);
  }

  // A number that can't be negative, scaled.
  std::optional<double> amount(const std::string& name, double scale) const {
    const auto amount = number(name);
    if (!amount || *amount < 0) return std::nullopt;
    return *amount * scale;
  }

  std::optional<double> percent() const {
    const auto percent = amount("capacity", 1);
    return percent && *percent <= 100 ? percent : std::nullopt;
  }

  // Reported in uAh, or as an energy in uWh at the battery's nominal voltage.
  std::optional<Amount> charge(const std::string& what) const {
    if (const auto charge = amount("charge_" + what, 1)) {
      return Amount{*charge * 1e-3, *charge, false};
    }
    const auto energy = amount("energy_" + what, 1);
    if (!energy) return std::nullopt;
    auto volts = amount("voltage_min_design", 1e-6);
    if (!volts || *volts == 0) volts = amount("voltage_now", 1e-6);
    if (!volts || *volts == 0) return std::nullopt;
    return Amount{*energy * 1e-3 / *volts, *energy, true};
  }

  // The same, without the zero that some drivers report for what they do not know.
  std::optional<Amount> positiveCharge(const std::string& what) const {
    const auto amount = charge(what);
    return amount && amount->milliampereHours > 0 ? amount : std::nullopt;
  }

  std::optional<Amount> measuredFull() const { return positiveCharge("full"); }
  std::optional<Amount> design() const { return positiveCharge("full_design"); }
  std::optional<Amount> full() const {
    const auto measured = measuredFull();
    return measured ? measured : design();
  }

  // A current in mA. Drivers disagree about its sign, the status settles it.
  std::optional<double> current(const std::string& when) const {
    auto current = number("current_" + when);
    if (current) {
      *current *= 1e-3;
    } else {
      const auto power = number("power_" + when);  // uW
      const auto volts = amount("voltage_now", 1e-6);
      if (!power || !volts || *volts == 0) return std::nullopt;
      current = *power * 1e-3 / *volts;
    }
    const std::string status = word("status");
    if (status == "Discharging") return -std::abs(*current);
    if (status == "Charging") return std::abs(*current);
    return current;
  }

 private:
  const SysfsAttributes& attributes_;
};

// Nearest integer. Readers take 32 bits of it, so what does not fit is missing, not cut.
Value integer(const std::optional<double>& number) {
  if (!number || !(std::abs(*number) <= std::numeric_limits<std::int32_t>::max())) return {};
  return static_cast<std::int64_t>(std::llround(*number));
}

Value integer(const std::optional<Amount>& amount) {
  return amount ? integer(amount->milliampereHours) : Value();
}

Value currentCapacity(const Supply& supply) {
  const auto now = supply.charge("now");
  const auto percent = supply.percent();
  if (const auto full = supply.full()) {
    const double maximum = full->milliampereHours;
    if (now && now->energy == full->energy) {
      return raisedToLevel(now->milliampereHours, now->raw * 100.0 / full->raw, maximum);
    }
    if (now) return now->milliampereHours;
    return percent ? Value(chargeOfLevel(*percent, maximum)) : Value();
  }
  // Without a full charge the level is what MaxCapacity 100 makes of it.
  if (percent) return *percent;
  return now ? Value(now->milliampereHours) : Value();
}

// Without a charge there is no maximum either: the level is then no number, rather than 0.
Value maxCapacity(const Supply& supply) {
  if (currentCapacity(supply).isNothing()) return {};
  if (const auto full = supply.full()) return full->milliampereHours;
  return supply.percent() ? Value(100.0) : Value();
}

Value statusIs(const Supply& supply, const char* status) {
  const std::string word = supply.word("status");
  return word.empty() ? Value() : Value(word == status);
}

Value atCriticalLevel(const Supply& supply) {
  const std::string level = supply.word("capacity_level");
  if (!level.empty() && level != "Unknown") return level == "Critical";
  const auto percent = supply.percent();
  return percent ? Value(*percent <= kCriticalPercent) : Value();
}

Value chargeStatus(const Supply& supply) {
  const std::string health = supply.word("health");
  if (health == "Overheat" || health == "Hot" || health == "Warm") return "HighTemperature";
  if (health == "Cold" || health == "Cool") return "LowTemperature";
  if (!health.empty() && health != "Good" && health != "Unknown") return health;
  const std::string status = supply.word("status");
  return status == "Not charging" ? Value(status) : Value();
}

Value averageCurrent(const Supply& supply) {
  const auto average = supply.current("avg");
  return integer(average ? average : supply.current("now"));
}

Value voltage(const Supply& supply) {
  return integer(supply.amount("voltage_now", 1e-3));
}

Value temperature(const Supply& supply) {
  auto temperature = supply.number("temp");  // tenths of a degree
  if (temperature) *temperature *= 10;
  return integer(temperature);
}

struct Property {
  const char* key;
  Value (*read)(const Supply&);
};

constexpr Property kProperties[] = {
    {"CurrentCapacity", currentCapacity},
    {"MaxCapacity", maxCapacity},
    {"DesignCapacity", [](const Supply& supply) { return integer(supply.design()); }},
    {"VennorRawCurrentCapacity",
     [](const Supply& supply) { return integer(supply.charge("now")); }},
    {"VennorRawMaxCapacity", [](const Supply& supply) { return integer(supply.measuredFull()); }},
    {"InstantAmperage", [](const Supply& supply) { return integer(supply.current("now")); }},
    {"Amperage", averageCurrent},
    {"Voltage", voltage},
    {"VennorRawBatteryVoltage", voltage},
    {"Temperature", temperature},
    {"CycleCount", [](const Supply& supply) { return integer(supply.amount("cycle_count", 1)); }},
    {"IsCharging", [](const Supply& supply) { return statusIs(supply, "Charging"); }},
    {"FullyCharged", [](const Supply& supply) { return statusIs(supply, "Full"); }},
    {"AtCriticalLevel", atCriticalLevel},
    {"ChargeStatus", chargeStatus},
};

}  // namespace

Value powerSourceProperty(const std::string& key, const SysfsAttributes& attributes) {
  for (const Property& property : kProperties) {
    if (key == property.key) return property.read(Supply(attributes));
  }
  return {};
}

Dictionary powerSourceProperties(const SysfsAttributes& attributes) {
  std::map<std::string, std::optional<std::string>> read;
  const SysfsAttributes once = [&](const std::string& name) {
    const auto [known, isNew] = read.try_emplace(name);
    if (isNew) known->second = attributes(name);
    return known->second;
  };
  Dictionary properties;
  for (const Property& property : kProperties) {
    if (Value value = property.read(Supply(once)); !value.isNothing()) {
      properties.set(property.key, std::move(value));
    }
  }
  return properties;
}

bool supplyHasGasGauge(const SysfsAttributes& attributes) {
  const Supply supply(attributes);
  return !integer(supply.current("now")).isNothing() && supply.measuredFull();
}

}  // namespace zorva

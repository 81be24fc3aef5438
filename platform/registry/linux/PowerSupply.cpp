// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/PowerSupply.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "platform/registry/PowerSourceCharge.h"

namespace zorva {
namespace {

// Below this level, in percent, a battery whose gauge has no opinion of its own is critical: where
// desktops put the machine to sleep.
constexpr double kCriticalPercent = 2;

// Gauges count a little past a full charge. Far beyond it, or at a temperature that no cell
// survives, the register was not read: bq27000 gives 0 K when its line is disturbed.
constexpr double kMostPercent = 110;
constexpr double kColdest = -1000, kHottest = 2000;  // tenths of a degree

// So often a driver has to contradict the sign that it always gave before.
constexpr int kSure = 4;

// A supply's attributes as numbers and words.
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
    if (!percent || *percent > kMostPercent) return std::nullopt;
    return std::min(*percent, 100.0);
  }

  // Some drivers report 0 for a voltage that they do not know.
  std::optional<double> nominalVolts() const {
    for (const char* name : {"voltage_min_design", "voltage_now"}) {
      const auto volts = amount(name, 1e-6);
      if (volts && *volts > 0) return volts;
    }
    return std::nullopt;
  }

  // Reported in uAh, or as an energy in uWh at the battery's nominal voltage.
  std::optional<ChargeFigure> charge(const std::string& what) const {
    if (const auto charge = amount("charge_" + what, 1)) {
      return ChargeFigure{*charge * 1e-3, *charge, false};
    }
    const auto energy = amount("energy_" + what, 1);
    const auto volts = nominalVolts();
    if (!energy || !volts) return std::nullopt;
    return ChargeFigure{*energy * 1e-3 / *volts, *energy, true};
  }

  // The same, without the zero that some drivers report for what they do not know.
  std::optional<ChargeFigure> positiveCharge(const std::string& what) const {
    const auto charge = this->charge(what);
    return charge && charge->milliampereHours > 0 ? charge : std::nullopt;
  }

  // In mA, with the driver's sign.
  std::optional<double> current() const {
    if (const auto current = number("current_now")) return *current * 1e-3;
    const auto power = number("power_now");  // uW
    const auto volts = amount("voltage_now", 1e-6);
    if (!power || !volts || *volts == 0) return std::nullopt;
    return *power * 1e-3 / *volts;
  }

 private:
  const SysfsAttributes& attributes_;
};

// Nearest integer. Readers take 32 bits of it, so what does not fit is missing, not cut.
Value integer(const std::optional<double>& number) {
  if (!number || !(std::abs(*number) <= std::numeric_limits<std::int32_t>::max())) return {};
  return static_cast<std::int64_t>(std::llround(*number));
}

Value integer(const std::optional<ChargeFigure>& charge) {
  return charge ? integer(charge->milliampereHours) : Value();
}

Value currentCapacity(const Battery& battery) {
  const auto& now = battery.now;
  const auto& percent = battery.percent;
  if (const auto full = battery.full()) {
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
Value maxCapacity(const Battery& battery) {
  if (currentCapacity(battery).isNothing()) return {};
  if (const auto full = battery.full()) return full->milliampereHours;
  return battery.percent ? Value(100.0) : Value();
}

Value statusIs(const Battery& battery, const char* status) {
  return battery.status.empty() ? Value() : Value(battery.status == status);
}

Value atCriticalLevel(const Battery& battery) {
  const std::string& level = battery.capacityLevel;
  if (!level.empty() && level != "Unknown") return level == "Critical";
  return battery.percent ? Value(*battery.percent <= kCriticalPercent) : Value();
}

bool complains(const std::string& health) {
  return !health.empty() && health != "Good" && health != "Unknown";
}

Value chargeStatus(const Battery& battery) {
  const std::string& health = battery.health;
  if (health == "Overheat" || health == "Hot" || health == "Warm") return "HighTemperature";
  if (health == "Cold" || health == "Cool") return "LowTemperature";
  if (complains(health)) return health;
  return battery.status == "Not charging" ? Value(battery.status) : Value();
}

std::optional<double> averageOrCurrent(const Battery& battery) {
  return battery.averageCurrent ? battery.averageCurrent : battery.current;
}

Value averageCurrent(const Battery& battery) {
  return integer(averageOrCurrent(battery));
}

Value voltage(const Battery& battery) {
  return integer(battery.voltage);
}

struct Property {
  const char* key;
  Value (*read)(const Battery&);
};

constexpr Property kProperties[] = {
    {"CurrentCapacity", currentCapacity},
    {"MaxCapacity", maxCapacity},
    {"DesignCapacity", [](const Battery& battery) { return integer(battery.design); }},
    {"VennorRawCurrentCapacity", [](const Battery& battery) { return integer(battery.now); }},
    {"VennorRawMaxCapacity", [](const Battery& battery) { return integer(battery.measuredFull); }},
    {"InstantAmperage", [](const Battery& battery) { return integer(battery.current); }},
    {"Amperage", averageCurrent},
    {"Voltage", voltage},
    {"VennorRawBatteryVoltage", voltage},
    {"Temperature", [](const Battery& battery) { return integer(battery.temperature); }},
    {"CycleCount", [](const Battery& battery) { return integer(battery.cycles); }},
    {"IsCharging", [](const Battery& battery) { return statusIs(battery, "Charging"); }},
    {"FullyCharged", [](const Battery& battery) { return statusIs(battery, "Full"); }},
    {"AtCriticalLevel", atCriticalLevel},
    {"ChargeStatus", chargeStatus},
};

// Several batteries.

using Batteries = std::span<const Battery>;

// In uWh.
std::optional<double> energyOf(const Battery& battery, const std::optional<ChargeFigure>& charge) {
  if (!charge) return std::nullopt;
  if (charge->energy) return charge->raw;
  if (!battery.nominalVolts) return std::nullopt;
  return charge->raw * *battery.nominalVolts;
}

// The sum of what every battery answers; nothing if one has no answer.
template <typename Answer>
std::optional<double> sum(Batteries batteries, Answer answer) {
  double sum = 0;
  for (const Battery& battery : batteries) {
    const std::optional<double> number = answer(battery);
    if (!number) return std::nullopt;
    sum += *number;
  }
  return sum;
}

// The sum of the charges, as an energy if it is known of all.
template <typename Of>
std::optional<ChargeFigure> sumOfCharges(Batteries batteries, Of of) {
  const auto charge = sum(batteries, [&](const Battery& battery) -> std::optional<double> {
    const auto figure = of(battery);
    return figure ? std::optional(figure->milliampereHours) : std::nullopt;
  });
  if (!charge) return std::nullopt;
  const auto energy =
      sum(batteries, [&](const Battery& battery) { return energyOf(battery, of(battery)); });
  return ChargeFigure{*charge, energy.value_or(*charge * 1e3), energy.has_value()};
}

// The charge, of a battery that reports only its level the share of its full charge.
std::optional<ChargeFigure> chargeNow(const Battery& battery) {
  const auto full = battery.full();
  if (battery.now || !battery.percent || !full) return battery.now;
  const double share = *battery.percent / 100.0;
  return ChargeFigure{full->milliampereHours * share, full->raw * share, full->energy};
}

// In percent, of a battery that reports only its charge the share of its full charge.
std::optional<double> levelOf(const Battery& battery) {
  const auto full = battery.full();
  if (battery.percent || !battery.now || !full) return battery.percent;
  return battery.now->milliampereHours / full->milliampereHours * 100.0;
}

// In mW; 0 where the battery reports none.
double powerOf(const Battery& battery) {
  return battery.current.value_or(0) * battery.voltage.value_or(0) * 1e-3;
}

const Battery& atWork(Batteries batteries) {
  return *std::ranges::max_element(
      batteries, {}, [](const Battery& battery) { return std::abs(powerOf(battery)); });
}

// The part of its design's charge that the battery still takes. One that does not say is sound.
double soundness(const Battery& battery) {
  if (!battery.measuredFull || !battery.design) return 1;
  return battery.measuredFull->milliampereHours / battery.design->milliampereHours;
}

const Battery& weakest(Batteries batteries) {
  return *std::ranges::min_element(batteries, [](const Battery& one, const Battery& other) {
    const double health = soundness(one), otherHealth = soundness(other);
    return health != otherHealth ? health < otherHealth
                                 : one.cycles.value_or(0) > other.cycles.value_or(0);
  });
}

// At the voltage of the battery at work, so that current and voltage make the whole power.
template <typename Of>
std::optional<double> wholeCurrent(Batteries batteries, Of of) {
  double currents = 0, power = 0;
  bool any = false, voltages = true;
  for (const Battery& battery : batteries) {
    const std::optional<double> current = of(battery);
    if (!current) continue;
    any = true;
    currents += *current;
    power += *current * battery.voltage.value_or(0);
    voltages = voltages && battery.voltage.value_or(0) > 0;
  }
  if (!any) return std::nullopt;
  const double voltage = atWork(batteries).voltage.value_or(0);
  return voltages && voltage > 0 ? power / voltage : currents;
}

std::string wholeStatus(Batteries batteries) {
  const auto is = [](const char* status) {
    return [status](const Battery& battery) { return battery.status == status; };
  };
  for (const char* status : {"Charging", "Discharging"}) {
    if (std::ranges::any_of(batteries, is(status))) return status;
  }
  if (std::ranges::all_of(batteries, is("Full"))) return "Full";
  for (const Battery& battery : batteries) {
    if (!battery.status.empty() && battery.status != "Full") return battery.status;
  }
  return "";
}

std::string wholeHealth(Batteries batteries) {
  const Battery& weak = weakest(batteries);
  if (complains(weak.health)) return weak.health;
  for (const Battery& battery : batteries) {
    if (complains(battery.health)) return battery.health;
  }
  return weak.health;
}

std::string wholeCapacityLevel(Batteries batteries) {
  const auto is = [&](const char* level) {
    return std::ranges::all_of(
        batteries, [level](const Battery& battery) { return battery.capacityLevel == level; });
  };
  return is("Critical") ? "Critical" : "";
}

// A charge little above the full one, as at the end of charging, is full. Far above it, the level
// that the driver reports beside it stands.
void limitToFull(Battery& battery) {
  const auto full = battery.full();
  if (!battery.now || !full || battery.now->milliampereHours <= full->milliampereHours) return;
  const bool little = battery.now->milliampereHours * 100 <= full->milliampereHours * kMostPercent;
  battery.now = battery.percent && !little ? std::nullopt : full;
}

}  // namespace

double CurrentSign::withDirection(double current, const std::string& status) {
  if (status == "Discharging") {
    const int step = current == 0 ? 0 : (current < 0 ? 1 : -1);
    negativeWhileDischarging_ = std::clamp(negativeWhileDischarging_ + step, -kSure, kSure);
    return -std::abs(current);
  }
  if (status == "Charging" && current < 0) negativeWhileCharging_ = true;
  if (negativeWhileDischarging_ == 0) return status == "Charging" ? std::abs(current) : current;
  if (negativeWhileDischarging_ > 0) return current;
  // A positive sign while discharging: the opposite sign, if the other one was ever seen, or none.
  return negativeWhileCharging_ ? -current : current;
}

Battery readBattery(const SysfsAttributes& attributes, CurrentSign& sign) {
  const Supply supply(attributes);
  Battery battery;
  battery.now = supply.charge("now");
  battery.measuredFull = supply.positiveCharge("full");
  battery.design = supply.positiveCharge("full_design");
  battery.percent = supply.percent();
  limitToFull(battery);
  battery.voltage = supply.amount("voltage_now", 1e-3);
  if (!battery.voltage) battery.voltage = supply.amount("voltage_avg", 1e-3);
  battery.nominalVolts = supply.nominalVolts();
  const auto temperature = supply.number("temp");  // tenths of a degree
  if (temperature >= kColdest && temperature <= kHottest) battery.temperature = *temperature * 10;
  battery.cycles = supply.amount("cycle_count", 1);
  battery.status = supply.word("status");
  battery.health = supply.word("health");
  battery.capacityLevel = supply.word("capacity_level");
  battery.current = supply.current();
  if (battery.current) *battery.current = sign.withDirection(*battery.current, battery.status);
  // Not from power_avg: the gauges that have it report 0 while it is not measured.
  battery.averageCurrent = supply.number("current_avg");
  if (battery.averageCurrent) *battery.averageCurrent *= 1e-3;
  if (battery.averageCurrent) {
    // An average lags behind the status, so nothing is learnt from it beside the present current.
    CurrentSign known = sign;
    *battery.averageCurrent =
        (battery.current ? known : sign).withDirection(*battery.averageCurrent, battery.status);
    if (!battery.current) battery.current = battery.averageCurrent;
  }
  return battery;
}

Battery combined(Batteries batteries) {
  if (batteries.size() == 1) return batteries.front();
  Battery whole;
  whole.measuredFull = sumOfCharges(batteries, [](const Battery& b) { return b.measuredFull; });
  whole.design = sumOfCharges(batteries, [](const Battery& b) { return b.design; });
  const auto full = sumOfCharges(batteries, [](const Battery& b) { return b.full(); });
  auto now = sumOfCharges(batteries, chargeNow);
  if (full && !whole.measuredFull) whole.design = full;
  if (full && now) {
    // Raw figures of the same kind, so that the level is the share of the energy.
    const bool energy = now->energy && full->energy;
    const double share =
        energy ? now->raw / full->raw : now->milliampereHours / full->milliampereHours;
    now = ChargeFigure{full->milliampereHours * share, full->raw * share, full->energy};
    whole.percent = share * 100.0;
  } else {
    whole.percent = sum(batteries, levelOf);
    if (whole.percent) *whole.percent /= static_cast<double>(batteries.size());
  }
  whole.now = now;
  const Battery& worker = atWork(batteries);
  whole.voltage = worker.voltage;
  whole.nominalVolts = worker.nominalVolts;
  whole.current = wholeCurrent(batteries, [](const Battery& b) { return b.current; });
  whole.averageCurrent = wholeCurrent(batteries, averageOrCurrent);
  whole.cycles = weakest(batteries).cycles;
  whole.status = wholeStatus(batteries);
  whole.health = wholeHealth(batteries);
  whole.capacityLevel = wholeCapacityLevel(batteries);
  for (const Battery& battery : batteries) {
    if (battery.temperature && battery.temperature > whole.temperature) {
      whole.temperature = battery.temperature;
    }
  }
  return whole;
}

Dictionary powerSourceProperties(const Battery& battery) {
  Dictionary properties;
  for (const Property& property : kProperties) {
    if (Value value = property.read(battery); !value.isNothing()) {
      properties.set(property.key, std::move(value));
    }
  }
  return properties;
}

}  // namespace zorva

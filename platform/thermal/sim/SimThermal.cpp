// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/sim/SimThermal.h"

#include <cmath>
#include <utility>

namespace zorva {

SimThermal::SimThermal(SimParts& parts, NotificationCentre& notifications, States states)
    : notifications_(notifications), states_(std::move(states)) {
  setTemperature(0, 0, 27.0);
  setTemperature(0, 1, 30.25);
  setTemperature(1, 0, 28.5);
  parts.sections.addBoth("thermal", [this](const ScenarioNode& node) { return read(node); });
}

void SimThermal::setLevel(std::int32_t level) {
  if (level == level_) return;
  level_ = level;
  notifications_.post(kThermalLevelChanged);
}

void SimThermal::setTemperature(std::size_t index, std::size_t reading, double degrees) {
  const auto hundredths = static_cast<std::uint64_t>(std::llround(degrees * 100.0)) & 0xFFFF;
  const auto shift = 16 * reading;
  const std::string name = kThermalSensorValues.at(index);
  const std::uint64_t others = states_.get(name).value_or(0) & ~(std::uint64_t{0xFFFF} << shift);
  states_.set(name, others | hundredths << shift);
}

// The level comes last, so that its observers see the temperatures of the same step.
ScenarioAction SimThermal::read(const ScenarioNode& node) {
  std::optional<std::int32_t> level;
  const ScenarioAction sensors = node.actions(
      {{"level",
        [&](const ScenarioNode& given) {
          level = static_cast<std::int32_t>(given.integer(INT32_MIN, INT32_MAX));
          return ScenarioAction([] {});
        }},
       {"sensors", [this](const ScenarioNode& given) {
          return eachEntryOf(given, [this](const ScenarioNode& name, const ScenarioNode& degrees) {
            return readSensor(name, degrees);
          });
        }}});
  return [this, sensors, level] {
    sensors();
    if (level) setLevel(*level);
  };
}

ScenarioAction SimThermal::readSensor(const ScenarioNode& name, const ScenarioNode& degrees) {
  const std::string& place = name.text();
  if (place.size() != 4 || place[0] != 's' || place[1] < '0' || place[1] > '5' || place[2] != '.' ||
      place[3] < '0' || place[3] > '3') {
    name.refuse("a sensor is named as in the log: s0.0 to s5.3");
  }
  const double value = degrees.isNothing() ? 0.0 : degrees.number(0, 655.35);
  return [this, index = static_cast<std::size_t>(place[1] - '0'),
          reading = static_cast<std::size_t>(place[3] - '0'),
          value] { setTemperature(index, reading, value); };
}

}  // namespace zorva

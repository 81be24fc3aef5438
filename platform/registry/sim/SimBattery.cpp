// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/sim/SimBattery.h"

#include <cmath>

#include "platform/registry/PowerSourceCharge.h"

namespace zorva {

SimBattery::SimBattery(SimParts& parts, SimRegistryEntry& entry) : entry_(entry) {
  set("DesignCapacity", 1420);
  set("CycleCount", 52);
  set("VennorRawMaxCapacity", 1400);
  setMaxCapacity(1400);
  setCurrent(-180);
  setChargingCurrent(-180);
  setVoltage(3921);
  setTemperature(29.5);
  setCharging(false);
  setFullyCharged(false);
  setCritical(false);
  parts.sections.addStart("battery",
                          [this](const ScenarioNode& node) { return node.actions(readers()); });
  parts.sections.addStep("battery", [this](const ScenarioNode& node) { return readStep(node); });
}

std::vector<ScenarioNode::Key> SimBattery::readers() {
  const auto integer = [this](void (SimBattery::*setter)(std::int64_t)) {
    return [this, setter](const ScenarioNode& node) -> ScenarioAction {
      return [this, setter, value = node.integer(INT32_MIN, INT32_MAX)] { (this->*setter)(value); };
    };
  };
  const auto boolean = [this](void (SimBattery::*setter)(bool)) {
    return [this, setter](const ScenarioNode& node) -> ScenarioAction {
      return [this, setter, value = node.boolean()] { (this->*setter)(value); };
    };
  };
  const auto real = [this](void (SimBattery::*setter)(double), double least, double most) {
    return [this, setter, least, most](const ScenarioNode& node) -> ScenarioAction {
      return [this, setter, value = node.number(least, most)] { (this->*setter)(value); };
    };
  };
  return {
      {"level", real(&SimBattery::setLevel, 0, 100)},
      {"max_capacity", integer(&SimBattery::setMaxCapacity)},
      {"current", integer(&SimBattery::setCurrent)},
      {"charging_current", integer(&SimBattery::setChargingCurrent)},
      {"voltage", integer(&SimBattery::setVoltage)},
      {"temperature", real(&SimBattery::setTemperature, -273.15, 1000)},
      {"charging", boolean(&SimBattery::setCharging)},
      {"fully_charged", boolean(&SimBattery::setFullyCharged)},
      {"critical", boolean(&SimBattery::setCritical)},
      {"charge_status",
       [this](const ScenarioNode& node) -> ScenarioAction {
         if (node.isNothing()) return [this] { setChargeStatus(std::nullopt); };
         return [this, status = node.anyText()] { setChargeStatus(status); };
       }},
      {"present", boolean(&SimBattery::setPresent)},
      {"properties",
       [this](const ScenarioNode& node) {
         return eachEntryOf(
             node, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
               return [this, name = key.text(), property = value.value()] { set(name, property); };
             });
       }},
  };
}

// The message goes out after all changes of the step, in any order.
ScenarioAction SimBattery::readStep(const ScenarioNode& node) {
  std::optional<std::uint32_t> message = kBatteryStatusChanged;
  std::vector<ScenarioNode::Key> keys = readers();
  keys.push_back({"message", [&](const ScenarioNode& type) {
                    if (type.isNothing()) {
                      message.reset();
                    } else {
                      message = static_cast<std::uint32_t>(type.integer(0, UINT32_MAX));
                    }
                    return ScenarioAction([] {});
                  }});
  const ScenarioAction changes = node.actions(keys);
  return [this, changes, message] {
    changes();
    if (message) announce(*message);
  };
}

void SimBattery::showLevel(double percent) {
  level_ = percent;
  const double maximum = entry_.properties()["MaxCapacity"].real();
  const double rawMaximum = entry_.properties()["VennorRawMaxCapacity"].real();
  const double capacity = maximum > 0 ? chargeOfLevel(percent, maximum) : 0;
  // Whole figures stay integers, the way a gauge counts mAh.
  const double rounded = std::round(capacity);
  set("CurrentCapacity",
      std::abs(capacity - rounded) < 1e-9 && !(rounded * 100.0 / maximum < percent)
          ? Value(static_cast<std::int64_t>(rounded))
          : Value(capacity));
  set("VennorRawCurrentCapacity",
      static_cast<std::int64_t>(std::llround(rawMaximum * percent / 100.0)));
}

void SimBattery::setMaxCapacity(std::int64_t capacity) {
  set("MaxCapacity", capacity);
  showLevel(level_);
}

void SimBattery::setVoltage(std::int64_t voltage) {
  set("Voltage", voltage);
  set("VennorRawBatteryVoltage", voltage);
}

void SimBattery::setTemperature(double degrees) {
  set("Temperature", static_cast<std::int64_t>(std::llround(degrees * 100.0)));
}

void SimBattery::setChargeStatus(const std::optional<std::string>& status) {
  set("ChargeStatus", status ? Value(*status) : Value());
}

}  // namespace zorva

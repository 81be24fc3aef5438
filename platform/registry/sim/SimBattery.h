// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/registry/sim/SimDeviceRegistry.h"

namespace zorva {

/// The battery behind the registry's power source, in the units that people speak of. Setting
/// something notifies no observer: announce() sends the battery's status message, once for all
/// changes.
class SimBattery {
 public:
  /// A healthy battery at 80 %, discharging.
  SimBattery(SimParts& parts, SimRegistryEntry& entry);

  /// In percent of the maximum capacity; the capacities follow.
  void setLevel(double percent) {
    showLevel(percent);
    levelSet_.notify(percent);
  }
  /// The same for the level that a power model has computed; it is reported to no observer.
  void showLevel(double percent);
  double level() const { return level_; }
  /// Calls back at each setLevel().
  Registration observeLevelSet(std::function<void(double percent)> set) {
    return levelSet_.add(std::move(set));
  }
  /// In mAh; the level stays.
  void setMaxCapacity(std::int64_t capacity);
  /// In mA, negative while discharging.
  void setCurrent(std::int64_t current) { set("InstantAmperage", current); }
  void setChargingCurrent(std::int64_t current) { set("Amperage", current); }
  /// In mV, for readers with and without gas gauge.
  void setVoltage(std::int64_t voltage);
  /// In degrees Celsius.
  void setTemperature(double degrees);
  void setCharging(bool charging) { set("IsCharging", charging); }
  void setFullyCharged(bool full) { set("FullyCharged", full); }
  void setCritical(bool critical) { set("AtCriticalLevel", critical); }
  /// Nothing: nothing hinders charging.
  void setChargeStatus(const std::optional<std::string>& status);
  /// Any property, by the registry's own key; nothing removes it.
  void set(const std::string& key, Value value) { entry_.setProperty(key, std::move(value)); }

  /// False takes it out of the device.
  void setPresent(bool present) { entry_.setPresent(present); }

  /// Sends the message that the battery's status changed, or one of another type.
  void announce(std::uint32_t messageType = kBatteryStatusChanged) { entry_.send(messageType); }

  SimRegistryEntry& entry() { return entry_; }

 private:
  ScenarioAction readStep(const ScenarioNode& node);
  std::vector<ScenarioNode::Key> readers();

  SimRegistryEntry& entry_;
  double level_ = 80.0;
  Observers<double> levelSet_;
};

}  // namespace zorva

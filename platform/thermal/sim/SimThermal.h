// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/notifications/NotificationCentre.h"
#include "platform/scenario/SimParts.h"
#include "platform/thermal/Thermal.h"

namespace zorva {

/// The thermal facility and its sensors, whose readings are the states of the six notifications.
class SimThermal : public Thermal {
 public:
  /// Where the sensors' states are kept: in the notification centre, where a scenario may set a
  /// whole state, too. Nothing is a state that cannot be read.
  struct States {
    std::function<std::optional<std::uint64_t>(const std::string& name)> get;
    std::function<void(const std::string& name, std::uint64_t state)> set;
  };

  /// A cool handset: level 0, and three sensors (s0.0, s0.1 and s1.0) between 27 and 31 degrees.
  SimThermal(SimParts& parts, NotificationCentre& notifications, States states);

  std::int32_t level() override { return level_; }

  /// Reports the change, if there is one.
  void setLevel(std::int32_t level);

  /// A sensor by its place: the index of its notification (0 to 5) and of its reading (0 to 3). In
  /// degrees Celsius, 0 to 655.35; 0 is a sensor that is not there. No observer is notified.
  void setTemperature(std::size_t index, std::size_t reading, double degrees);

 private:
  ScenarioAction read(const ScenarioNode& node);
  ScenarioAction readSensor(const ScenarioNode& name, const ScenarioNode& degrees);

  NotificationCentre& notifications_;
  States states_;
  std::int32_t level_ = 0;
};

}  // namespace zorva

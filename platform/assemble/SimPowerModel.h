// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/audio/sim/SimAudioSystem.h"
#include "platform/energy/sim/SimEnergyCounters.h"
#include "platform/loop/sim/SimRunLoop.h"
#include "platform/processes/sim/SimProcessTable.h"
#include "platform/registry/sim/SimBacklight.h"
#include "platform/registry/sim/SimBattery.h"
#include "platform/scenario/EnergyAccount.h"
#include "platform/scenario/PowerFigures.h"
#include "platform/sleep/sim/SimSystemPower.h"
#include "platform/telephony/sim/SimTelephony.h"
#include "platform/traffic/sim/SimNetworkInterfaces.h"

namespace zorva {

/// Lets the battery drain and charge as virtual time passes, by the figures of the scenario's
/// "power_model", and keeps the account of what each cause used. Without one it does nothing.
///
/// What the handset does is read from its services whenever time is about to pass: nothing changes
/// in between. CPU time and traffic are booked when they happen.
class SimPowerModel {
 public:
  struct Services {
    SimRunLoop& runLoop;
    SimBattery& battery;
    SimBacklight& backlight;
    SimProcessTable& processes;
    SimNetworkInterfaces& interfaces;
    SimSystemPower& systemPower;
    SimTelephony& telephony;
    SimAudioSystem& audio;
    SimEnergyCounters& energy;
  };

  /// Adds "power_model", a start section, and "charger", a step. To be called after the battery's
  /// sections were added: the model starts from the battery's level.
  SimPowerModel(SimParts& parts, const Services& services);

  /// Whether the scenario that was read has a power model.
  bool isInScenario() const { return isInScenario_; }

  /// How long the handset has been awake, with or without a model.
  std::chrono::microseconds awake() const { return awake_; }

  /// The account; nothing before the scenario begins, or without a model.
  EnergyAccount* account() { return account_ ? &*account_ : nullptr; }

 private:
  using Duration = std::chrono::microseconds;
  struct Draw {
    EnergyCause cause;
    std::int64_t microwatts;
  };

  void begin(const PowerFigures& figures);
  void observeAmounts();
  void feedCounters();
  void timeBegins();
  void timeEnds(Duration passed);
  void setCharger(std::int64_t microwatts);

  std::vector<Draw> draws() const;
  std::int64_t netPower() const;
  bool standsStill() const;
  void show();
  void plan();

  Services services_;
  Duration awake_{0};
  bool isInScenario_ = false;
  PowerFigures figures_;
  std::int64_t charger_ = 0;  ///< microwatts
  std::optional<EnergyAccount> account_;
  std::int64_t shown_ = 0;  ///< level in hundredths of a percent
  Registration levelSet_;
  Registration cpuTime_;
  Registration traffic_;
  Registration energy_;
  Registration timer_;
};

}  // namespace zorva

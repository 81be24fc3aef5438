// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "platform/scenario/EnergyAccount.h"
#include "platform/scenario/ScenarioNode.h"

namespace zorva {

/// A scenario's power model: what the handset's parts use, and how much the battery holds. Whole
/// numbers, so that every machine computes the same.
struct PowerFigures {
  static PowerFigures read(const ScenarioNode& node);

  std::int64_t percent = 0;     ///< microjoules in one percent of the full battery
  std::int64_t millivolts = 0;  ///< nominal
  // Microwatts.
  std::int64_t asleep = 0;
  std::int64_t awake = 0;    ///< with nothing else in use
  std::int64_t display = 0;  ///< per unit of brightness
  std::int64_t cpu = 0;      ///< while one process computes
  std::int64_t call = 0;     ///< of the modem, while a call is active
  std::int64_t audio = 0;    ///< while audio plays
  std::int64_t charger = 0;  ///< what the charger supplies at the start; 0: there is none
  // Microjoules per million bytes.
  std::int64_t wifiTraffic = 0;
  std::int64_t modemTraffic = 0;
  /// Counters of energy, and what each of them counts.
  std::map<std::string, std::set<EnergyCause::Kind>> counters = {};
};

/// The microwatts of a charger's watts.
std::int64_t readCharger(const ScenarioNode& node);

}  // namespace zorva

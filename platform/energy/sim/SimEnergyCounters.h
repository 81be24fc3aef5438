// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/energy/EnergyCounters.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The handset's energy counters; there are none at first.
class SimEnergyCounters : public EnergyCounters {
 public:
  /// How many seconds the handset has been awake.
  SimEnergyCounters(SimParts& parts, std::function<double()> awake);

  Reading read() override;

  /// A counter by its name, which is made where there is none.
  Counter& counter(const std::string& name);
  /// Lets the counter's part use energy, over the end of the counter's range.
  void addUse(const std::string& name, double joules);
  void addMicrojoules(const std::string& name, std::uint64_t microjoules);
  void remove(const std::string& name);

 private:
  ScenarioAction readCounter(const ScenarioNode& name, const ScenarioNode& node);

  SimFaultPoint readFault_;
  std::function<double()> awake_;
  std::vector<Counter> counters_;
};

}  // namespace zorva

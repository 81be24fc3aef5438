// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "platform/scenario/SimParts.h"
#include "platform/work/WorkUnits.h"

namespace zorva {

/// The handset's units; there are none at first.
class SimWorkUnits : public WorkUnits {
 public:
  /// The unit around all others.
  static constexpr const char* kRest = "-.slice";

  explicit SimWorkUnits(SimParts& parts);

  std::optional<std::vector<Unit>> units() override;

  /// Lets a unit, which is started where there is none of the name, use the processor.
  void addCpuTime(const std::string& name, double seconds) {
    addCpuTime(name, std::chrono::round<std::chrono::microseconds>(
                         std::chrono::duration<double>(seconds)));
  }
  void addCpuTime(const std::string& name, std::chrono::microseconds time) { units_[name] += time; }
  /// What it has used stays, in the unit around it.
  void end(const std::string& name);

 private:
  ScenarioAction readStep(const ScenarioNode& node);
  ScenarioAction readTimes(const ScenarioNode& node);

  SimFaultPoint unitsFault_;
  std::map<std::string, std::chrono::microseconds> units_;
};

}  // namespace zorva

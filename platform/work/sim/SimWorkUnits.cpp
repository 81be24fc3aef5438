// SPDX-License-Identifier: Apache-2.0
#include "platform/work/sim/SimWorkUnits.h"

namespace zorva {

SimWorkUnits::SimWorkUnits(SimParts& parts) : unitsFault_(parts.faults, "work.units") {
  parts.sections.addStart("work", [this](const ScenarioNode& node) { return readTimes(node); });
  parts.sections.addStep("work", [this](const ScenarioNode& node) { return readStep(node); });
}

ScenarioAction SimWorkUnits::readTimes(const ScenarioNode& node) {
  return eachEntryOf(
      node, [this](const ScenarioNode& name, const ScenarioNode& time) -> ScenarioAction {
        return [this, unit = name.text(), used = time.duration()] { addCpuTime(unit, used); };
      });
}

ScenarioAction SimWorkUnits::readStep(const ScenarioNode& node) {
  return node.actions(
      {{"add_cpu_time", [this](const ScenarioNode& times) { return readTimes(times); }},
       {"end", [this](const ScenarioNode& ended) {
          return eachOf(ended.oneOrMore(), [this](const ScenarioNode& name) -> ScenarioAction {
            return [this, unit = name.text()] { end(unit); };
          });
        }}});
}

std::optional<std::vector<WorkUnits::Unit>> SimWorkUnits::units() {
  if (unitsFault_.strikes() || units_.empty()) return std::nullopt;
  std::vector<Unit> units;
  for (const auto& [name, used] : units_) units.push_back({name, used});
  return units;
}

void SimWorkUnits::end(const std::string& name) {
  const auto ended = units_.extract(name);
  if (!ended.empty()) units_[kRest] += ended.mapped();
}

}  // namespace zorva

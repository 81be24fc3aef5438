// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/sim/SimSuspendRecords.h"

#include <algorithm>
#include <utility>

namespace zorva {

SimSuspendRecords::SimSuspendRecords(SimParts& parts,
                                     std::function<std::chrono::microseconds()> asleep)
    : readFault_(parts.faults, "suspend.read"), asleep_(std::move(asleep)) {
  parts.sections.addBoth("suspend", [this](const ScenarioNode& node) { return readTotals(node); });
}

ScenarioAction SimSuspendRecords::readTotals(const ScenarioNode& node) {
  const ScenarioAction changes = node.actions(
      {{"mode",
        [this](const ScenarioNode& given) -> ScenarioAction {
          return [this, mode = given.text()] { totals->mode = mode; };
        }},
       {"hardware",
        [this](const ScenarioNode& given) -> ScenarioAction {
          if (given.isNothing()) {
            return [this] { totals->inHardware = std::chrono::microseconds(0); };
          }
          return [this, more = given.duration()] {
            totals->inHardware = totals->inHardware.value_or(std::chrono::microseconds(0)) + more;
          };
        }},
       {"failed",
        [this](const ScenarioNode& given) -> ScenarioAction {
          const auto keys = given.keys({"step", "device", "error"});
          const ScenarioNode* const device = keys.find("device");
          return [this, step = keys.require("step").text(),
                  name = device != nullptr ? device->anyText() : "",
                  error = static_cast<int>(keys.require("error").integer(1, 4095))] {
            fail(step, name, error);
          };
        }},
       {"sources", [this](const ScenarioNode& given) {
          return eachEntryOf(given, [this](const ScenarioNode& name, const ScenarioNode& source) {
            return readSource(name, source);
          });
        }}});
  return [this, changes] {
    if (!totals) totals.emplace();
    changes();
  };
}

ScenarioAction SimSuspendRecords::readSource(const ScenarioNode& name, const ScenarioNode& node) {
  if (node.isNothing()) {
    return [this, key = name.text()] {
      source(key).events = 0;
      source(key).blocked = {};
    };
  }
  return node.actions(
      {{"name",
        [this, key = name.text()](const ScenarioNode& given) -> ScenarioAction {
          return [this, key, text = given.text()] { source(key).name = text; };
        }},
       {"events",
        [this, key = name.text()](const ScenarioNode& given) -> ScenarioAction {
          return [this, key, more = given.integer(0, INT32_MAX)] { source(key).events += more; };
        }},
       {"blocked", [this, key = name.text()](const ScenarioNode& given) -> ScenarioAction {
          return [this, key, more = given.duration()] {
            source(key).blocked += std::chrono::round<std::chrono::milliseconds>(more);
          };
        }}});
}

std::optional<SuspendTotals> SimSuspendRecords::read() {
  if (readFault_.strikes() || !totals) return std::nullopt;
  totals->asleep = std::chrono::floor<std::chrono::milliseconds>(asleep_());
  return totals;
}

SuspendTotals::Source& SimSuspendRecords::source(const std::string& id) {
  auto& sources = totals->sources;
  const auto found = std::ranges::find(sources, id, &SuspendTotals::Source::id);
  return found != sources.end() ? *found : sources.emplace_back(SuspendTotals::Source{id, id});
}

void SimSuspendRecords::fail(const std::string& step, const std::string& device, int error) {
  ++totals->failures;
  ++totals->failedSteps[step];
  totals->lastFailedStep = step;
  if (!device.empty()) totals->lastFailedDevice = device;
  totals->lastFailedError = error;
}

}  // namespace zorva

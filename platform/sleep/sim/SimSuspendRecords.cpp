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
          return [this, more = given.duration()] {
            totals->inHardware = totals->inHardware.value_or(std::chrono::microseconds(0)) + more;
          };
        }},
       {"last_hardware",
        [this](const ScenarioNode& given) -> ScenarioAction {
          return [this, last = given.duration()] { totals->lastInHardware = last; };
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
  return node.actions(
      {{"events",
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

SuspendTotals::Source& SimSuspendRecords::source(const std::string& name) {
  auto& sources = totals->sources;
  const auto found = std::ranges::find(sources, name, &SuspendTotals::Source::name);
  return found != sources.end() ? *found : sources.emplace_back(SuspendTotals::Source{name});
}

void SimSuspendRecords::fail(const std::string& step, const std::string& device, int error) {
  ++totals->failures;
  totals->failedStep = step;
  totals->failedDevice = device;
  totals->failedError = error;
}

}  // namespace zorva

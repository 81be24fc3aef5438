// SPDX-License-Identifier: Apache-2.0
#include "platform/energy/sim/SimEnergyCounters.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zorva {
namespace {

constexpr double kMostJoules = 1e12;  // of which 64 bits hold the microjoules

std::uint64_t microjoules(double joules) {
  return static_cast<std::uint64_t>(std::llround(joules * 1e6));
}

}  // namespace

SimEnergyCounters::SimEnergyCounters(SimParts& parts, std::function<double()> awake)
    : readFault_(parts.faults, "energy.read"), awake_(std::move(awake)) {
  parts.sections.addBoth("energy", [this](const ScenarioNode& node) {
    return eachEntryOf(node, [this](const ScenarioNode& name, const ScenarioNode& counter) {
      return readCounter(name, counter);
    });
  });
}

ScenarioAction SimEnergyCounters::readCounter(const ScenarioNode& name, const ScenarioNode& node) {
  const std::string key = name.text();
  if (node.isNothing()) return [this, key] { remove(key); };
  const auto joules = [](const ScenarioNode& given) { return given.number(0, kMostJoules); };
  if (node.isScalar()) {
    return [this, key, used = joules(node)] { counter(key).used = microjoules(used); };
  }
  return node.actions(
      {{"used",
        [&](const ScenarioNode& given) -> ScenarioAction {
          if (given.isNothing()) return [this, key] { counter(key).used.reset(); };
          return [this, key, used = joules(given)] { counter(key).used = microjoules(used); };
        }},
       {"add",
        [&](const ScenarioNode& given) -> ScenarioAction {
          return [this, key, used = joules(given)] { addUse(key, used); };
        }},
       {"range", [&](const ScenarioNode& given) -> ScenarioAction {
          return [this, key, range = joules(given)] { counter(key).range = microjoules(range); };
        }}});
}

EnergyCounters::Reading SimEnergyCounters::read() {
  if (readFault_.strikes()) return {awake_(), {}};
  return {awake_(), counters_};
}

EnergyCounters::Counter& SimEnergyCounters::counter(const std::string& name) {
  const auto found = std::ranges::find(counters_, name, &Counter::name);
  if (found != counters_.end()) return *found;
  counters_.push_back({name, name, {}, 0});
  return counters_.back();
}

void SimEnergyCounters::addUse(const std::string& name, double joules) {
  addMicrojoules(name, microjoules(joules));
}

void SimEnergyCounters::addMicrojoules(const std::string& name, std::uint64_t microjoules) {
  Counter& used = counter(name);
  used.used = used.used.value_or(0) + microjoules;
  if (used.range > 0) *used.used %= used.range;
}

void SimEnergyCounters::remove(const std::string& name) {
  std::erase_if(counters_, [&](const Counter& each) { return each.name == name; });
}

}  // namespace zorva

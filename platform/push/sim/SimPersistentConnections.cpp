// SPDX-License-Identifier: Apache-2.0
#include "platform/push/sim/SimPersistentConnections.h"

#include <algorithm>

namespace zorva {

SimPersistentConnections::SimPersistentConnections(SimParts& parts, const Clock& clock,
                                                   std::function<bool()> readByOwner,
                                                   NotificationCentre& notifications)
    : clock_(clock),
      readByOwner_(std::move(readByOwner)),
      notifications_(notifications),
      intervalCachesFault_(parts.faults, "persistentConnections.intervalCaches") {
  parts.sections.addBoth("persistent_connections",
                         [this](const ScenarioNode& node) { return read(node); });
}

ScenarioAction SimPersistentConnections::read(const ScenarioNode& node) {
  const auto keys = node.keys({"push", "polling_interval", "caches"});
  std::optional<bool> push;
  std::optional<std::int32_t> polling;
  std::vector<ScenarioAction> actions;
  if (const auto* given = keys.find("push")) push = given->boolean();
  if (const auto* given = keys.find("polling_interval")) {
    polling = static_cast<std::int32_t>(given->integer(INT32_MIN, INT32_MAX));
  }
  if (push || polling) {
    actions.push_back([this, push, polling] {
      setPreferences(push.value_or(push_), polling.value_or(polling_));
    });
  }
  if (const auto* given = keys.find("caches")) {
    actions.push_back(
        eachEntryOf(*given, [this](const ScenarioNode& identifier, const ScenarioNode& cache) {
          return readCache(identifier.text(), cache);
        }));
  }
  return inTurn(std::move(actions));
}

ScenarioAction SimPersistentConnections::readCache(const std::string& identifier,
                                                   const ScenarioNode& node) {
  if (node.isNothing()) return [this, identifier] { setCache(identifier, std::nullopt); };
  const auto keys = node.keys({"interval", "age"});
  const Value interval = keys.require("interval").value();
  std::optional<ScenarioNode::Duration> age;
  if (const auto* given = keys.find("age")) age = given->duration();
  return [this, identifier, interval, age] {
    IntervalCache cache{std::nullopt, interval};
    if (age) cache.written = clock_.now() - *age;
    setCache(identifier, cache);
  };
}

std::vector<std::pair<std::string, PersistentConnections::IntervalCache>>
SimPersistentConnections::intervalCaches() {
  if (intervalCachesFault_.strikes() || !readByOwner_()) return {};
  return caches_;
}

void SimPersistentConnections::setPreferences(bool push, std::int32_t polling) {
  push_ = push;
  polling_ = polling;
  notifications_.post(kPersistentConnectionPreferencesChanged);
}

void SimPersistentConnections::setCache(const std::string& identifier,
                                        std::optional<IntervalCache> cache) {
  const auto held = std::find_if(caches_.begin(), caches_.end(),
                                 [&](const auto& each) { return each.first == identifier; });
  if (!cache) {
    if (held != caches_.end()) caches_.erase(held);
  } else if (held != caches_.end()) {
    held->second = *cache;
  } else {
    caches_.emplace_back(identifier, *cache);
  }
  notifications_.post(kIntervalCacheChanged);
}

}  // namespace zorva

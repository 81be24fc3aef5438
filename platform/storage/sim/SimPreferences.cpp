// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/sim/SimPreferences.h"

namespace zorva {

SimPreferences::SimPreferences(SimParts& parts, const FileSystem& files, AccountDatabase& accounts,
                               SystemLog& systemLog)
    : store_(files, accounts, systemLog),
      valueFault_(parts.faults, "preferences.value"),
      synchronizeFault_(parts.faults, "preferences.synchronize") {
  parts.sections.addBoth("preferences", [this](const ScenarioNode& settings) {
    return readDomain("com.vennor.zorva", settings);
  });
  parts.sections.addBoth("preference_domains", [this](const ScenarioNode& domains) {
    return eachEntryOf(domains, [this](const ScenarioNode& domain, const ScenarioNode& settings) {
      return readDomain(domain.text(), settings);
    });
  });
}

ScenarioAction SimPreferences::readDomain(const std::string& domain, const ScenarioNode& settings) {
  const Scope scope{domain, "mobile"};
  return eachEntryOf(
      settings,
      [this, scope](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
        return [this, scope, name = key.text(), set = value.value()] {
          factoryValues_.erase({scope.domain, scope.user, name});
          // Bypasses the fault points, which are for the daemon.
          store_.setValue(scope, name, set);
          store_.synchronize(scope);
        };
      });
}

Value SimPreferences::storedOrFactoryValue(const Scope& scope, const std::string& key) {
  Value stored = store_.value(scope, key);
  const auto factory = factoryValues_.find({scope.domain, scope.user, key});
  return stored.isNothing() && factory != factoryValues_.end() ? factory->second : stored;
}

}  // namespace zorva

#include "platform/sim/SimPreferences.h"

namespace zorva {

SimPreferences::SimPreferences(SimParts& parts, const FileSystem& files, AccountDatabase& accounts,
                               SystemLog& systemLog)
    : store_(files, accounts, systemLog),
      valueFault_(parts.faults, "preferences.value"),
      synchronizeFault_(parts.faults, "preferences.synchronize") {
  parts.sections.addBoth("preferences", [this](const ScenarioNode& preferences) {
    return eachEntryOf(
        preferences, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
          return [this, name = key.text(), set = value.value()] {
            const Scope scope{"com.vennor.zorva", "mobile"};
            // Past the fault points, which are for the daemon.
            store_.setValue(scope, name, set);
            store_.synchronize(scope);
          };
        });
  });
}

}  // namespace zorva

#include "platform/sim/SimPreferences.h"

namespace zorva {

SimPreferences::SimPreferences(SimParts& parts)
    : valueFault_(parts.faults, "preferences.value"),
      synchronizeFault_(parts.faults, "preferences.synchronize") {
  parts.sections.addBoth("preferences", [this](const ScenarioNode& preferences) {
    return eachEntryOf(
        preferences, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
          return [this, name = key.text(), set = value.value()] {
            const Scope scope{"com.vennor.zorva", "mobile"};
            setValue(scope, name, set);
            synchronize(scope);
          };
        });
  });
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/system/sim/SimProfileSettings.h"

namespace zorva {

SimProfileSettings::SimProfileSettings(SimParts& parts)
    : effectiveValueFault_(parts.faults, "profile.effectiveValue") {
  parts.sections.addBoth("profile", [this](const ScenarioNode& settings) {
    return eachEntryOf(
        settings, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
          return [this, setting = key.text(), set = value.value()] {
            setEffectiveValue(setting, set);
          };
        });
  });
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/system/sim/SimDeviceInformation.h"

namespace zorva {

SimDeviceInformation::SimDeviceInformation(SimParts& parts)
    : answerFault_(parts.faults, "device.answer") {
  parts.sections.addBoth("information", [this](const ScenarioNode& answers) {
    return eachEntryOf(
        answers, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
          return [this, name = key.text(), answer = value.value()] { setAnswer(name, answer); };
        });
  });
}

}  // namespace zorva

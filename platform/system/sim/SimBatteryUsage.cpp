// SPDX-License-Identifier: Apache-2.0
#include "platform/system/sim/SimBatteryUsage.h"

namespace zorva {

SimBatteryUsage::SimBatteryUsage(SimParts& parts)
    : timesFault_(parts.faults, "batteryUsage.times") {
  parts.sections.addBoth("battery_usage", [this](const ScenarioNode& node) -> ScenarioAction {
    if (node.isNothing()) return [this] { setTimes(std::nullopt); };
    const auto keys = node.keys({"usage", "standby"});
    const Times times{static_cast<float>(keys.require("usage").seconds()),
                      static_cast<float>(keys.require("standby").seconds())};
    return [this, times] { setTimes(times); };
  });
}

}  // namespace zorva

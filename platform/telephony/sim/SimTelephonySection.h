// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/telephony/sim/SimTelephony.h"
#include "platform/telephony/sim/SimTelephonyNotifications.h"
#include "platform/telephony/sim/SimTelephonyServer.h"

namespace zorva {

/// The key "telephony" of scenarios, which drives the three telephony services. Words are written
/// there without the prefixes of the server's values.
class SimTelephonySection {
 public:
  SimTelephonySection(SimParts& parts, SimTelephony& telephony, SimTelephonyServer& server,
                      SimTelephonyNotifications& notifications);

 private:
  using Keys = std::vector<ScenarioNode::Key>;

  Keys libraryKeys();
  Keys serverKeys();
  Keys newsKeys();
  ScenarioAction readCalls(const ScenarioNode& node);

  SimTelephony& telephony_;
  SimTelephonyServer& server_;
  SimTelephonyNotifications& notifications_;
  /// The ids of the calls that there are when the step that is being read happens.
  std::set<std::int32_t> planned_;
};

}  // namespace zorva

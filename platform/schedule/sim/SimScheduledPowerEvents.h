// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/schedule/ScheduledPowerEvents.h"

namespace zorva {

/// The planned power events. One whose time has passed stays in the list until it is removed.
class SimScheduledPowerEvents : public ScheduledPowerEvents {
 public:
  explicit SimScheduledPowerEvents(SimParts& parts);

  std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() override;

  /// Plans an event, after those of the same time. The record may lack any key; one without a time
  /// comes last.
  void add(Dictionary event);
  /// Removes everything that one has scheduled.
  void remove(const std::string& scheduledBy);
  /// Empties the list.
  void clear() { events_.emplace(); }
  /// Until the next change there is no list.
  void removeList() { events_.reset(); }

 private:
  ScenarioAction readEvent(const ScenarioNode& node);
  ScenarioAction readRemoval(const ScenarioNode& node);
  ScenarioAction readNoList();

  SimFaultPoint copyFault_;
  std::optional<std::vector<Dictionary>> events_{std::in_place};
  /// Who will have scheduled something when the step that is being read happens.
  std::set<std::string> planned_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/schedule/ScheduledPowerEvents.h"

namespace zorva {

/// The scheduled power events. One whose time has passed stays in the list until it is removed.
class SimScheduledPowerEvents : public ScheduledPowerEvents {
 public:
  explicit SimScheduledPowerEvents(SimParts& parts);

  std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() override;

  /// Schedules an event, after those of the same time. The record may lack any key; one without a
  /// time is last in the list.
  void add(Dictionary event);
  /// Removes every event scheduled by it.
  void remove(const std::string& scheduledBy);
  /// Empties the list.
  void clear() { events_.emplace(); }
  /// Returns no list until the next change.
  void removeList() { events_.reset(); }

 private:
  ScenarioAction readEvent(const ScenarioNode& node);
  ScenarioAction readRemoval(const ScenarioNode& node);
  ScenarioAction readNoList();

  SimFaultPoint copyFault_;
  std::optional<std::vector<Dictionary>> events_{std::in_place};
  /// The schedulers of the events in the list when the step being read is executed.
  std::set<std::string> planned_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "platform/assertions/PowerManagement.h"
#include "platform/loop/Clock.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The power-management service. Processes are listed in the order in which they first took an
/// assertion, each one's assertions in the order in which they were taken.
class SimPowerManagement : public PowerManagement {
 public:
  SimPowerManagement(SimParts& parts, const Clock& clock, NotificationCentre& notifications);

  std::optional<std::vector<ProcessAssertions>> copyAssertionsByProcess() override;

  /// Takes an assertion for the process, started now, and reports the change.
  void take(pid_t pid, const std::string& name);
  /// The same with a whole record, which may lack any key.
  void takeRecord(pid_t pid, Dictionary record);
  /// Releases the process's oldest assertion of the name and reports the change; false when it
  /// holds none.
  bool release(pid_t pid, const std::string& name);
  /// Releases all that the process holds, and reports the change if there was one.
  void releaseAll(pid_t pid);

 private:
  ScenarioAction readTake(const ScenarioNode& node);
  ScenarioAction readRelease(const ScenarioNode& node);
  ScenarioAction readReleaseAll(const ScenarioNode& node);
  void reportChange() { notifications_.post(kAssertionsChanged); }

  const Clock& clock_;
  NotificationCentre& notifications_;
  SimFaultPoint copyAssertionsFault_;
  std::vector<ProcessAssertions> held_;
  /// What will be held when the step that is being read happens.
  std::multiset<std::pair<std::int32_t, std::string>> planned_;
};

}  // namespace zorva

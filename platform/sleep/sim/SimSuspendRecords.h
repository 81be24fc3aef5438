// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/scenario/SimParts.h"
#include "platform/sleep/SuspendRecords.h"

namespace zorva {

/// The handset's records of its sleeps; it keeps none until a scenario gives some.
class SimSuspendRecords : public SuspendRecords {
 public:
  /// `asleep`: for how long the handset has been asleep.
  SimSuspendRecords(SimParts& parts, std::function<std::chrono::microseconds()> asleep);

  std::optional<SuspendTotals> read() override;

  /// What is read from now on, but for the time asleep; nothing: no records.
  std::optional<SuspendTotals> totals;
  /// A source by its id, which is its name at first; made if there is none.
  SuspendTotals::Source& source(const std::string& id);
  void fail(const std::string& step, const std::string& device, int error);

 private:
  ScenarioAction readTotals(const ScenarioNode& node);
  ScenarioAction readSource(const ScenarioNode& name, const ScenarioNode& node);

  SimFaultPoint readFault_;
  std::function<std::chrono::microseconds()> asleep_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/scenario/ScenarioNode.h"
#include "platform/scenario/SimFaults.h"

namespace zorva {

/// What a scenario can drive: each simulated service adds its keys. A reader checks all that stands
/// under its key, keeps nothing of it, and returns what to do when the time has come.
class ScenarioSections {
 public:
  using Reader = ScenarioNode::Reader;
  using Section = ScenarioNode::Key;

  /// A key under "device:". What it sets up happens before anything runs, in the order in which the
  /// sections were added.
  void addStart(const std::string& key, Reader read) { add(start_, key, std::move(read)); }
  /// A key of a step. Steps are read in the order in which they happen.
  void addStep(const std::string& key, Reader read) { add(step_, key, std::move(read)); }
  /// One key for both.
  void addBoth(const std::string& key, const Reader& read) {
    addStart(key, read);
    addStep(key, read);
  }

  const std::vector<Section>& start() const { return start_; }
  const std::vector<Section>& step() const { return step_; }

 private:
  static void add(std::vector<Section>& sections, const std::string& key, Reader read);

  std::vector<Section> start_;
  std::vector<Section> step_;
};

/// What every simulated service is put together with. A new service adds its fault points and its
/// sections in its constructor; nothing else needs to know it but SimHandset, which owns it.
struct SimParts {
  SimFaults faults;
  ScenarioSections sections;

  /// Adds "faults" and "fault", which arm fault points. To be called last: the faults of the start
  /// are for the daemon, not for the services that are being set up.
  void addFaultSections();
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/scenario/ScenarioNode.h"
#include "platform/scenario/SimFaults.h"

namespace zorva {

/// The keys of scenarios: each simulated service adds its own. A reader checks everything under its
/// key, keeps no reference to it, and returns the action to run when the step is due.
class ScenarioSections {
 public:
  using Reader = ScenarioNode::Reader;
  using Section = ScenarioNode::Key;

  /// A key under "device:". Its actions run before the daemon starts, in the order in which the
  /// sections were added.
  void addStart(const std::string& key, Reader read) { add(start_, key, std::move(read)); }
  /// A key of a step. Steps are read in the order of execution.
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

/// The objects with which every simulated service is created. A new service adds its fault points
/// and its sections in its constructor; only SimHandset, which owns it, refers to it.
struct SimParts {
  SimFaults faults;
  ScenarioSections sections;

  /// Adds "faults" and "fault", which arm fault points. To be called last: the faults of the start
  /// state are for the daemon, not for the services that are being set up.
  void addFaultSections();
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/scenario/ScenarioNode.h"

namespace zorva {

class SimHandset;

/// A scenario, read from YAML and checked as a whole before any of it is executed:
///
///     device:
///       battery: {level: 88, charging: false}
///     steps:
///       - at: 00:10:00
///         battery: {level: 87}
///     end: 01:00:00
class Scenario {
 public:
  /// Reads a scenario for that handset only. `name` is the text's name in messages. Throws
  /// ScenarioError.
  static Scenario read(std::string_view yaml, const std::string& name, SimHandset& handset);
  static Scenario readFile(const std::string& path, SimHandset& handset);

  /// Sets the handset's start state, and schedules the steps and, at the end, the exit
  /// notification. To be called once, before time has passed.
  void begin(SimHandset& handset) const;

  /// Every key that the reader accepts in the mappings of the text.
  const std::set<std::string>& offeredKeys() const { return text_->offeredKeys; }

 private:
  struct Step {
    ScenarioNode::Duration at;
    ScenarioAction action;
  };

  std::shared_ptr<ScenarioText> text_;
  std::vector<ScenarioAction> start_;
  std::vector<Step> steps_;
  ScenarioNode::Duration end_{0};
};

}  // namespace zorva

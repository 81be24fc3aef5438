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

/// A handset's story, read from YAML and checked as a whole before anything of it happens:
///
///     device:
///       battery: {level: 88, charging: false}
///     steps:
///       - at: 00:10:00
///         battery: {level: 87}
///     end: 01:00:00
class Scenario {
 public:
  /// Reads for that handset, and only for it. `name` stands for the text in messages. Throws
  /// ScenarioError.
  static Scenario read(std::string_view yaml, const std::string& name, SimHandset& handset);
  static Scenario readFile(const std::string& path, SimHandset& handset);

  /// Puts the handset into the start state, and plans the steps and, at the end, the exit
  /// notification. To be called once, before time has passed.
  void begin(SimHandset& handset) const;

  /// Every key that was offered to the text's mappings, known to the reader therefore.
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

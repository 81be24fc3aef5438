// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/sim/SimBacklight.h"

namespace zorva {

SimBacklight::SimBacklight(SimParts& parts, SimRegistryEntry& entry) : entry_(entry) {
  entry_.setProperty("backlight-control", true);
  setBrightness(brightness_);
  parts.sections.addStart("backlight",
                          [this](const ScenarioNode& node) { return node.actions(readers()); });
  parts.sections.addStep("backlight", [this](const ScenarioNode& node) { return readStep(node); });
}

void SimBacklight::set(std::int64_t& figure, std::int64_t value) {
  figure = value;
  entry_.setProperty("IODisplayParameters", Dictionary{{"brightness", Dictionary{
                                                                          {"min", minimum_},
                                                                          {"max", maximum_},
                                                                          {"value", brightness_},
                                                                      }}});
}

std::vector<ScenarioNode::Key> SimBacklight::readers() {
  const auto figure = [this](void (SimBacklight::*setter)(std::int64_t)) {
    return [this, setter](const ScenarioNode& node) -> ScenarioAction {
      return [this, setter, value = node.integer(INT64_MIN, INT64_MAX)] { (this->*setter)(value); };
    };
  };
  return {{"brightness", figure(&SimBacklight::setBrightness)},
          {"min", figure(&SimBacklight::setMinimum)},
          {"max", figure(&SimBacklight::setMaximum)},
          {"present", [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, present = node.boolean()] { setPresent(present); };
           }}};
}

// The message goes out after all changes of the step, in any order. Without a new
// brightness there is nothing to announce.
ScenarioAction SimBacklight::readStep(const ScenarioNode& node) {
  std::optional<std::uint32_t> message;
  bool chosen = false;
  std::vector<ScenarioNode::Key> keys = readers();
  keys.push_back({"message", [&](const ScenarioNode& type) {
                    chosen = true;
                    if (!type.isNothing()) {
                      message = static_cast<std::uint32_t>(type.integer(0, UINT32_MAX));
                    }
                    return ScenarioAction([] {});
                  }});
  const ScenarioAction changes = node.actions(keys);
  for (const auto& entry : node.entries()) {
    if (!chosen && entry.first.text() == "brightness") message = kPropertyChanged;
  }
  return [this, changes, message] {
    changes();
    if (message) announce(*message);
  };
}

}  // namespace zorva

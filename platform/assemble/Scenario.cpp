// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/Scenario.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

// The time after the last step at which a run without "end" ends, so that events that the step
// triggers in later iterations of the run loop, such as replies of services, are delivered first.
constexpr ScenarioNode::Duration kAfterLastStep(1);

// Reads at most one byte more than the largest scenario, so that a larger file is detected.
std::string contentsOf(const std::string& path) {
  constexpr std::streamsize kReadAtMost = (std::streamsize{1} << 20) + 1;
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string contents(kReadAtMost, '\0');
  file.read(contents.data(), kReadAtMost);
  // At the end of the file; reading a directory has failed before.
  if (file.bad() || !(file.good() || file.eof())) {
    throw ScenarioError(safeText(path) + ": cannot be read: " + std::strerror(errno));
  }
  contents.resize(static_cast<std::size_t>(file.gcount()));
  return contents;
}

// Actions run in the order of the sections, so that a service is set up after those that it depends
// on.
std::vector<ScenarioAction> readStart(const ScenarioNode& device,
                                      const std::vector<ScenarioSections::Section>& sections) {
  std::vector<ScenarioAction> inOrder(sections.size());
  std::vector<ScenarioNode::Key> keys;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    keys.push_back({sections[i].name, [&inOrder, &sections, i](const ScenarioNode& node) {
                      inOrder[i] = sections[i].read(node);
                      return ScenarioAction([] {});
                    }});
  }
  device.actions(keys);
  std::erase_if(inOrder, [](const ScenarioAction& action) { return !action; });
  return inOrder;
}

}  // namespace

Scenario Scenario::readFile(const std::string& path, SimHandset& handset) {
  return read(contentsOf(path), path, handset);
}

Scenario Scenario::read(std::string_view yaml, const std::string& name, SimHandset& handset) {
  const ScenarioSections& sections = handset.sections();
  Scenario scenario;
  scenario.text_ = std::make_shared<ScenarioText>(ScenarioText{name, {}});
  const ScenarioNode root = ScenarioNode::parse(yaml, scenario.text_);
  const auto keys = root.keys({"description", "device", "steps", "end"});
  if (const auto* description = keys.find("description")) description->text();
  if (const auto* device = keys.find("device")) {
    scenario.start_ = readStart(*device, sections.start());
  }
  if (const auto* steps = keys.find("steps")) {
    for (const ScenarioNode& node : steps->list()) {
      Step step;
      std::vector<ScenarioNode::Key> stepKeys = sections.step();
      stepKeys.insert(stepKeys.begin(), {"at", [&](const ScenarioNode& at) {
                                           step.at = at.duration();
                                           if (step.at < scenario.end_) {
                                             at.refuse(
                                                 "this step is earlier than the one above it; "
                                                 "put the steps in the order of time");
                                           }
                                           return ScenarioAction([] {});
                                         }});
      if (!node.isMapping()) node.refuse("a step is a mapping with \"at\" and what happens");
      if (node.entries().empty() || node.entries().front().first.text() != "at") {
        node.refuse("a step begins with \"at: \" and the time since the start");
      }
      if (node.entries().size() == 1) node.refuse("nothing happens in this step; add a key to it");
      step.action = node.actions(stepKeys);
      scenario.end_ = step.at;
      scenario.steps_.push_back(std::move(step));
    }
  }
  if (const auto* end = keys.find("end")) {
    if (end->duration() < scenario.end_) end->refuse("the end is earlier than the last step");
    scenario.end_ = end->duration();
  } else {
    scenario.end_ += kAfterLastStep;
  }
  return scenario;
}

void Scenario::begin(SimHandset& handset) const {
  for (const ScenarioAction& action : start_) action();
  for (const Step& step : steps_) handset.runLoop().schedule(step.at, step.action);
  handset.runLoop().schedule(end_, [&handset] { handset.notifications().postExit(); });
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/sim/SimPowerManagement.h"

#include <algorithm>
#include <utility>

namespace zorva {

SimPowerManagement::SimPowerManagement(SimParts& parts, const Clock& clock,
                                       NotificationCentre& notifications)
    : clock_(clock),
      notifications_(notifications),
      copyAssertionsFault_(parts.faults, "powerManagement.copyAssertionsByProcess") {
  const auto take = [this](const ScenarioNode& node) { return readTake(node); };
  parts.sections.addStart("assertions",
                          [take](const ScenarioNode& node) { return eachOf(node.list(), take); });
  parts.sections.addStep("assertions", [this, take](const ScenarioNode& node) {
    return node.actions(
        {{"take", [take](const ScenarioNode& taken) { return eachOf(taken.oneOrMore(), take); }},
         {"release",
          [this](const ScenarioNode& released) {
            return eachOf(released.oneOrMore(),
                          [this](const ScenarioNode& item) { return readRelease(item); });
          }},
         {"release_all", [this](const ScenarioNode& released) {
            return eachOf(released.oneOrMore(),
                          [this](const ScenarioNode& item) { return readReleaseAll(item); });
          }}});
  });
}

ScenarioAction SimPowerManagement::readTake(const ScenarioNode& node) {
  const auto keys = node.keys({"process", "name", "held_for", "properties"});
  const auto pid = static_cast<std::int32_t>(keys.require("process").integer(0, INT32_MAX));
  const std::string name = keys.require("name").anyText();
  const auto* heldForNode = keys.find("held_for");
  const auto heldFor = heldForNode ? heldForNode->duration() : ScenarioNode::Duration(0);
  Dictionary properties;
  if (const auto* given = keys.find("properties")) {
    for (const auto& [key, value] : given->entries()) {
      if (key.text() == "AssertPID" || key.text() == "AssertName" ||
          key.text() == "AssertStartWhen") {
        key.refuse("this comes from process, name and held_for; use those");
      }
      properties.set(key.text(), value.value());
    }
  }
  planned_.emplace(pid, name);
  return [this, pid, name, heldFor, properties] {
    Dictionary record{{"AssertPID", std::int64_t{pid}},
                      {"AssertName", name},
                      {"AssertStartWhen", clock_.now() - heldFor}};
    for (const auto& [key, value] : properties) record.set(key, value);
    takeRecord(pid, std::move(record));
  };
}

ScenarioAction SimPowerManagement::readRelease(const ScenarioNode& node) {
  const auto keys = node.keys({"process", "name"});
  const auto pid = static_cast<std::int32_t>(keys.require("process").integer(0, INT32_MAX));
  const std::string name = keys.require("name").anyText();
  const auto planned = planned_.find({pid, name});
  if (planned == planned_.end()) node.refuse("the process holds no assertion of this name then");
  planned_.erase(planned);
  return [this, pid, name] { release(pid, name); };
}

ScenarioAction SimPowerManagement::readReleaseAll(const ScenarioNode& node) {
  const auto pid = static_cast<std::int32_t>(node.integer(0, INT32_MAX));
  if (std::erase_if(planned_, [&](const auto& each) { return each.first == pid; }) == 0) {
    node.refuse("the process holds no assertion then");
  }
  return [this, pid] { releaseAll(pid); };
}

std::optional<std::vector<PowerManagement::ProcessAssertions>>
SimPowerManagement::copyAssertionsByProcess() {
  if (copyAssertionsFault_.strikes()) return std::nullopt;
  return held_;
}

void SimPowerManagement::take(pid_t pid, const std::string& name) {
  takeRecord(
      pid,
      {{"AssertPID", std::int64_t{pid}}, {"AssertName", name}, {"AssertStartWhen", clock_.now()}});
}

void SimPowerManagement::takeRecord(pid_t pid, Dictionary record) {
  auto holder =
      std::find_if(held_.begin(), held_.end(), [&](const auto& each) { return each.pid == pid; });
  if (holder == held_.end()) holder = held_.insert(held_.end(), {pid, {}});
  holder->records.push_back(std::move(record));
  reportChange();
}

bool SimPowerManagement::release(pid_t pid, const std::string& name) {
  for (auto holder = held_.begin(); holder != held_.end(); ++holder) {
    if (holder->pid != pid) continue;
    auto& records = holder->records;
    const auto record = std::find_if(records.begin(), records.end(), [&](const auto& each) {
      return each["AssertName"].text() == name;
    });
    if (record == records.end()) return false;
    records.erase(record);
    if (records.empty()) held_.erase(holder);
    reportChange();
    return true;
  }
  return false;
}

void SimPowerManagement::releaseAll(pid_t pid) {
  if (std::erase_if(held_, [&](const auto& each) { return each.pid == pid; }) > 0) {
    reportChange();
  }
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/sim/SimSystemNotifications.h"

#include <utility>

namespace zorva {

SimSystemNotifications::SimSystemNotifications(SimParts& parts)
    : observeFault_(parts.faults, "notifications.observe"),
      stateFault_(parts.faults, "notifications.state") {
  const auto readState = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"name", "value"});
    const std::string name = keys.require("name").text();
    const ScenarioNode& value = keys.require("value");
    std::optional<std::uint64_t> state;
    if (!value.isNothing()) state = value.natural();
    return [this, name, state] { setState(name, state); };
  };
  parts.sections.addStart(
      "states", [readState](const ScenarioNode& node) { return eachOf(node.list(), readState); });
  parts.sections.addStep("state", [readState](const ScenarioNode& node) {
    return eachOf(node.oneOrMore(), readState);
  });
  parts.sections.addStep("notify", [this](const ScenarioNode& node) {
    return eachOf(node.oneOrMore(), [this](const ScenarioNode& name) -> ScenarioAction {
      return [this, posted = name.text()] { post(posted); };
    });
  });
  parts.sections.addStep("stop", [this](const ScenarioNode& node) -> ScenarioAction {
    node.mark();
    return [this] { postExit(); };
  });
}

Registration SimSystemNotifications::observe(const std::string& name, Callback callback) {
  if (observeFault_.strikes()) return {};
  return observers_[name].add(std::move(callback));
}

std::optional<std::uint64_t> SimSystemNotifications::state(const std::string& name) {
  return stateFault_.strikes() ? std::nullopt : stateAsSet(name);
}

}  // namespace zorva

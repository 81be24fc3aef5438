// SPDX-License-Identifier: Apache-2.0
#include "platform/schedule/sim/SimScheduledPowerEvents.h"

#include <algorithm>
#include <utility>

namespace zorva {
namespace {

bool isEarlier(const Dictionary& left, const Dictionary& right) {
  return left["time"].date().value_or(Date::max()) < right["time"].date().value_or(Date::max());
}

}  // namespace

SimScheduledPowerEvents::SimScheduledPowerEvents(SimParts& parts)
    : copyFault_(parts.faults, "scheduledEvents.copyScheduledPowerEvents") {
  const auto event = [this](const ScenarioNode& node) { return readEvent(node); };
  parts.sections.addStart("scheduled_events", [this, event](const ScenarioNode& node) {
    return node.isNothing() ? readNoList() : eachOf(node.list(), event);
  });
  parts.sections.addStep("scheduled_events", [this, event](const ScenarioNode& node) {
    if (node.isNothing()) return readNoList();
    return node.actions(
        {{"add", [event](const ScenarioNode& added) { return eachOf(added.oneOrMore(), event); }},
         {"remove", [this](const ScenarioNode& removed) {
            return eachOf(removed.oneOrMore(),
                          [this](const ScenarioNode& item) { return readRemoval(item); });
          }}});
  });
}

ScenarioAction SimScheduledPowerEvents::readEvent(const ScenarioNode& node) {
  const auto keys = node.keys({"time", "type", "by"});
  Dictionary event;
  if (const auto* time = keys.find("time")) event.set("time", time->date());
  if (const auto* type = keys.find("type")) event.set("eventtype", type->anyText());
  if (const auto* by = keys.find("by")) {
    event.set("scheduledby", by->anyText());
    planned_.insert(by->anyText());
  }
  return [this, event] { add(event); };
}

ScenarioAction SimScheduledPowerEvents::readRemoval(const ScenarioNode& node) {
  const std::string& scheduledBy = node.anyText();
  if (planned_.erase(scheduledBy) == 0) node.refuse("it has scheduled nothing by then");
  return [this, scheduledBy] { remove(scheduledBy); };
}

ScenarioAction SimScheduledPowerEvents::readNoList() {
  planned_.clear();
  return [this] { removeList(); };
}

std::optional<std::vector<Dictionary>> SimScheduledPowerEvents::copyScheduledPowerEvents() {
  if (copyFault_.strikes()) return std::nullopt;
  return events_;
}

void SimScheduledPowerEvents::add(Dictionary event) {
  if (!events_) clear();
  const auto place = std::upper_bound(events_->begin(), events_->end(), event, isEarlier);
  events_->insert(place, std::move(event));
}

void SimScheduledPowerEvents::remove(const std::string& scheduledBy) {
  if (!events_) clear();
  std::erase_if(*events_, [&](const Dictionary& event) {
    return event["scheduledby"].text() == scheduledBy;
  });
}

}  // namespace zorva

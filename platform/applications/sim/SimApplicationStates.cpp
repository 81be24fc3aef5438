// SPDX-License-Identifier: Apache-2.0
#include "platform/applications/sim/SimApplicationStates.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::array kStates{"terminated", "suspended", "background", "foreground"};
constexpr std::array kReasons{"none", "activation", "audio",     "location",
                              "call", "task",       "accessory", "network"};

template <std::size_t Size>
std::string wordOf(const std::array<const char*, Size>& words, const char* kind,
                   std::int32_t code) {
  if (code >= 0 && static_cast<std::size_t>(code) < Size) return words[code];
  return std::string(kind) + "-" + std::to_string(code);
}

template <std::size_t Size>
std::int32_t codeOf(const std::array<const char*, Size>& words, const ScenarioNode& node) {
  const char first = node.text().front();
  if (first == '-' || isDigit(first)) {
    return static_cast<std::int32_t>(node.integer(INT32_MIN, INT32_MAX));
  }
  const auto word = std::find(words.begin(), words.end(), node.text());
  if (word == words.end()) {
    std::string all;
    for (const char* each : words) all += (all.empty() ? "" : ", ") + std::string(each);
    node.refuse("write one of these or a number here: " + all);
  }
  return static_cast<std::int32_t>(word - words.begin());
}

std::optional<std::int32_t> processIn(const ScenarioNode::Keys& keys) {
  const ScenarioNode* pid = keys.find("process");
  if (pid == nullptr) return std::nullopt;
  return static_cast<std::int32_t>(pid->integer(0, INT32_MAX));
}

}  // namespace

SimApplicationStates::SimApplicationStates(SimParts& parts)
    : observeFault_(parts.faults, "applications.observe"),
      copyDisplayIdentifiersFault_(parts.faults, "applications.copyDisplayIdentifiers"),
      processOfFault_(parts.faults, "applications.processOf") {
  parts.sections.addStart("applications", [this](const ScenarioNode& node) {
    return eachOf(node.list(), [this](const ScenarioNode& item) { return readApplication(item); });
  });
  parts.sections.addStep("application_change", [this](const ScenarioNode& node) {
    return eachOf(node.oneOrMore(), [this](const ScenarioNode& item) { return readChange(item); });
  });
}

ScenarioAction SimApplicationStates::readApplication(const ScenarioNode& node) {
  const auto keys = node.keys({"id", "process", "state", "debuggable"});
  Application application;
  if (const auto* state = keys.find("state")) {
    application.state = static_cast<State>(codeOf(kStates, *state));
  }
  application.pid = processIn(keys);
  if (const auto* debuggable = keys.find("debuggable")) {
    application.debuggable = debuggable->boolean();
  }
  return [this, id = keys.require("id").text(), application] { setApplication(id, application); };
}

ScenarioAction SimApplicationStates::readChange(const ScenarioNode& node) {
  const auto keys = node.keys({"id", "process", "state", "reasons"});
  ApplicationStateChange change;
  if (const auto* id = keys.find("id")) change.displayIdentifier = id->text();
  change.pid = processIn(keys);
  if (const auto* state = keys.find("state")) change.state = codeOf(kStates, *state);
  if (const auto* reasons = keys.find("reasons")) {
    change.reasons.emplace();
    for (const ScenarioNode& reason : reasons->list()) {
      change.reasons->push_back(codeOf(kReasons, reason));
    }
  }
  return [this, change] {
    if (change.displayIdentifier) {
      const Application* known = find(*change.displayIdentifier);
      Application application = known != nullptr ? *known : Application();
      if (change.pid) application.pid = change.pid;
      if (change.state) application.state = static_cast<State>(*change.state);
      if (application.state == State::Terminated) application.pid.reset();
      setApplication(*change.displayIdentifier, application);
    }
    notify(change);
  };
}

Registration SimApplicationStates::observe(
    std::function<void(const ApplicationStateChange&)> changed) {
  if (observeFault_.strikes()) return {};
  return observers_.add(std::move(changed));
}

std::vector<std::string> SimApplicationStates::copyDisplayIdentifiers(bool onlyActive,
                                                                      bool onlyDebuggable) {
  if (copyDisplayIdentifiersFault_.strikes()) return {};
  std::vector<std::string> identifiers;
  for (const auto& [identifier, application] : applications_) {
    if (onlyActive && application.state == State::Terminated) continue;
    if (application.debuggable == onlyDebuggable) identifiers.push_back(identifier);
  }
  return identifiers;
}

std::optional<std::int32_t> SimApplicationStates::processOf(const std::string& displayIdentifier) {
  const Application* application = find(displayIdentifier);
  if (processOfFault_.strikes() || application == nullptr) return std::nullopt;
  return application->pid;
}

std::int32_t SimApplicationStates::stateOf(const std::string& displayIdentifier) {
  const Application* application = find(displayIdentifier);
  return static_cast<std::int32_t>(application != nullptr ? application->state : State::Terminated);
}

std::string SimApplicationStates::descriptionOfState(std::int32_t state) {
  return wordOf(kStates, "state", state);
}

std::string SimApplicationStates::nameOfReason(std::int32_t reason) {
  return wordOf(kReasons, "reason", reason);
}

void SimApplicationStates::setApplication(const std::string& displayIdentifier,
                                          Application application) {
  if (Application* known = find(displayIdentifier)) {
    *known = application;
  } else {
    applications_.emplace_back(displayIdentifier, application);
  }
}

void SimApplicationStates::notify(const ApplicationStateChange& change) {
  if (generating()) observers_.notify(change);
}

SimApplicationStates::Application* SimApplicationStates::find(
    const std::string& displayIdentifier) {
  const auto known =
      std::find_if(applications_.begin(), applications_.end(),
                   [&](const auto& each) { return each.first == displayIdentifier; });
  return known == applications_.end() ? nullptr : &known->second;
}

}  // namespace zorva

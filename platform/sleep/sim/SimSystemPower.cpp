// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/sim/SimSystemPower.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// Far from the connections, so that one is not taken for the other.
constexpr std::uint32_t kFirstNotifier = 1000;

constexpr std::array<std::pair<std::string_view, PowerMessage>, 4> kMessages{{
    {"can_sleep", PowerMessage::CanSleep},
    {"will_sleep", PowerMessage::WillSleep},
    {"will_not_sleep", PowerMessage::WillNotSleep},
    {"powered_on", PowerMessage::HasPoweredOn},
}};

bool hasToBeAllowed(std::uint32_t type) {
  return type == static_cast<std::uint32_t>(PowerMessage::CanSleep) ||
         type == static_cast<std::uint32_t>(PowerMessage::WillSleep);
}

}  // namespace

class SimSystemPower::SimPort : public Port {
 public:
  SimPort(std::shared_ptr<Shared> shared, std::shared_ptr<Listener> listener,
          SimFaultPoint& sourceFault)
      : shared_(std::move(shared)), listener_(std::move(listener)), sourceFault_(sourceFault) {}
  ~SimPort() override {
    listener_->hasSource = false;
    shared_->report("destroy port");
  }
  Registration addSourceToRunLoop() override {
    if (sourceFault_.strikes()) return {};
    listener_->hasSource = true;
    return Registration([shared = shared_, listener = listener_] {
      listener->hasSource = false;
      shared->report("remove source");
    });
  }

 private:
  std::shared_ptr<Shared> shared_;
  std::shared_ptr<Listener> listener_;
  SimFaultPoint& sourceFault_;
};

SimSystemPower::SimSystemPower(SimParts& parts, RunLoop& runLoop, SystemLog& systemLog,
                               SimKernelValues& kernel)
    : runLoop_(runLoop),
      systemLog_(systemLog),
      kernel_(kernel),
      registerFault_(parts.faults, "systemPower.registerForSystemPower"),
      sourceFault_(parts.faults, "systemPower.addSourceToRunLoop") {
  parts.sections.addStep("power", [this](const ScenarioNode& node) {
    return eachOf(node.oneOrMore(),
                  [this](const ScenarioNode& message) { return readMessage(message); });
  });
  parts.sections.addStep("sleep", [this](const ScenarioNode& node) -> ScenarioAction {
    node.mark();
    return [this] { sleep(); };
  });
  parts.sections.addStep("wake", [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"reason"});
    const ScenarioNode& given = keys.require("reason");
    std::optional<std::string> reason;
    if (!given.isNothing()) reason = given.anyText();
    return [this, reason] { wake(reason); };
  });
}

ScenarioAction SimSystemPower::readMessage(const ScenarioNode& node) {
  const auto keys = node.keys({"message"});
  const ScenarioNode& message = keys.require("message");
  for (const auto& [name, type] : kMessages) {
    if (message.text() == name) {
      return [this, type = static_cast<std::uint32_t>(type)] { send(type); };
    }
  }
  if (std::string_view("0123456789").find(message.text().front()) == std::string_view::npos) {
    message.refuse("use can_sleep, will_sleep, will_not_sleep, powered_on or a number");
  }
  return [this, type = static_cast<std::uint32_t>(message.integer(0, UINT32_MAX))] { send(type); };
}

SystemPower::Registered SimSystemPower::registerForSystemPower(Handler handler) {
  if (registerFault_.strikes()) return {};
  const std::uint32_t connection = ++lastConnection_;
  const auto listener = std::make_shared<Listener>(
      Listener{connection, kFirstNotifier + connection, std::move(handler)});
  listeners_.push_back(listener);
  return {listener->connection, listener->notifier,
          std::make_unique<SimPort>(shared_, listener, sourceFault_)};
}

void SimSystemPower::allowPowerChange(std::uint32_t connection, std::intptr_t argument) {
  shared_->report(formatText("allow %ld", static_cast<long>(argument)));
  for (const auto& listener : listeners_) {
    if (listener->connection == connection) listener->awaited.erase(argument);
  }
}

void SimSystemPower::deregisterForSystemPower(std::uint32_t& notifier) {
  shared_->report(formatText("deregister %u", notifier));
  std::erase_if(listeners_, [&](const auto& listener) {
    if (listener->notifier != notifier) return false;
    listener->hasSource = false;
    return true;
  });
  notifier = 0;
}

void SimSystemPower::closeConnection(std::uint32_t connection) {
  shared_->report(formatText("close %u", connection));
}

void SimSystemPower::send(std::uint32_t type) {
  if (type == static_cast<std::uint32_t>(PowerMessage::WillSleep)) asleep_ = true;
  if (type == static_cast<std::uint32_t>(PowerMessage::HasPoweredOn) ||
      type == static_cast<std::uint32_t>(PowerMessage::WillNotSleep)) {
    asleep_ = false;
  }
  const auto listeners = listeners_;  // they may come and go meanwhile
  for (const auto& listener : listeners) {
    if (!listener->hasSource) continue;
    const std::intptr_t argument = ++lastArgument_;
    if (hasToBeAllowed(type)) listener->awaited.insert(argument);
    const Handler handler = listener->handler;  // survives its listener
    handler(type, argument);
  }
  const bool isAwaited = std::any_of(listeners_.begin(), listeners_.end(),
                                     [](const auto& each) { return !each->awaited.empty(); });
  if (isAwaited) startLimit();
}

void SimSystemPower::startLimit() {
  limit_ = runLoop_.startTimer(kLimitSeconds, [this] {
    for (const auto& listener : listeners_) {
      if (std::exchange(listener->awaited, {}).empty()) continue;
      systemLog_.write(
          formatText("power: the sleep was not allowed within %.0f seconds", kLimitSeconds));
    }
  });
}

void SimSystemPower::sleep() {
  send(static_cast<std::uint32_t>(PowerMessage::CanSleep));
  send(static_cast<std::uint32_t>(PowerMessage::WillSleep));
}

void SimSystemPower::wake(const std::optional<std::string>& reason) {
  kernel_.setText("kern.wakereason", reason);
  send(static_cast<std::uint32_t>(PowerMessage::HasPoweredOn));
}

}  // namespace zorva

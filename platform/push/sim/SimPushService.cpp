// SPDX-License-Identifier: Apache-2.0
#include "platform/push/sim/SimPushService.h"

#include <algorithm>

namespace zorva {
namespace {

class SimPushConnection : public PushConnection {
 public:
  explicit SimPushConnection(Observers<const SimPushService::Delivery&> service)
      : service_(std::move(service)) {}

  void setDelegate(Delegate delegate) override { state_->delegate = std::move(delegate); }
  void setEnabledTopics(const std::vector<std::string>& topics) override {
    state_->topics = topics;
  }
  Registration schedule() override {
    return service_.add([weak = std::weak_ptr(state_)](const SimPushService::Delivery& delivery) {
      if (const auto state = weak.lock()) state->receive(delivery);
    });
  }

 private:
  struct State {
    Delegate delegate;
    std::vector<std::string> topics;

    void receive(const SimPushService::Delivery& delivery) const {
      if (!delivery.topic) {
        if (delegate.receivedPublicToken) delegate.receivedPublicToken(delivery.token);
        return;
      }
      const bool wanted = std::any_of(topics.begin(), topics.end(), [&](const auto& topic) {
        return topic == "*" || topic == *delivery.topic;
      });
      if (wanted && delegate.receivedMessage) {
        delegate.receivedMessage(*delivery.topic, delivery.userInfo);
      }
    }
  };

  Observers<const SimPushService::Delivery&> service_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace

SimPushService::SimPushService(SimParts& parts, NotificationCentre& notifications)
    : notifications_(notifications), createConnectionFault_(parts.faults, "push.createConnection") {
  const auto readConnected = [this](const ScenarioNode& node) -> ScenarioAction {
    return [this, connected = node.boolean()] { setConnected(connected); };
  };
  parts.sections.addStart("push", [readConnected](const ScenarioNode& node) {
    return node.actions({{"connected", readConnected}});
  });
  const auto readMessage = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"topic", "payload"});
    Dictionary payload;
    if (const auto* given = keys.find("payload")) {
      for (const auto& [key, value] : given->entries()) payload.set(key.text(), value.value());
    }
    return [this, topic = keys.require("topic").text(), payload] { sendMessage(topic, payload); };
  };
  const auto readSent = [this](const ScenarioNode& node) -> ScenarioAction {
    const bool filter = node.text() == "filter";
    if (!filter && node.text() != "keep_alive") node.refuse("write filter or keep_alive here");
    const char* name = filter ? kPushSentFilter : kPushSentKeepAlive;
    return [this, name] { notifications_.post(name); };
  };
  const auto readToken = [this](const ScenarioNode& node) -> ScenarioAction {
    const Value value = node.value();
    if (value.data() == nullptr) node.refuse("write data here, such as !data \"0a 1b\"");
    return [this, token = *value.data()] { sendPublicToken(token); };
  };
  parts.sections.addStep("push", [=, this](const ScenarioNode& node) {
    return node.actions(
        {{"connected", readConnected},
         {"stream_error",
          [this](const ScenarioNode& error) -> ScenarioAction {
            error.mark();
            return [this] { failStream(); };
          }},
         {"sent", [=](const ScenarioNode& sent) { return eachOf(sent.oneOrMore(), readSent); }},
         {"message",
          [=](const ScenarioNode& message) { return eachOf(message.oneOrMore(), readMessage); }},
         {"token", readToken}});
  });
}

std::unique_ptr<PushConnection> SimPushService::createConnection(const std::string& environment) {
  if (createConnectionFault_.strikes() || environment != kProduction) return nullptr;
  return std::make_unique<SimPushConnection>(scheduled_);
}

void SimPushService::setConnected(bool connected) {
  if (connected_ == connected) return;
  connected_ = connected;
  notifications_.post(connected ? kPushStreamOpened : kPushStreamEnded);
  receiveWaiting();
}

void SimPushService::failStream() {
  connected_ = false;
  notifications_.post(kPushStreamError);
}

void SimPushService::sendMessage(const std::string& topic, Dictionary userInfo) {
  waiting_.push_back({topic, std::move(userInfo), {}});
  receiveWaiting();
}

void SimPushService::sendPublicToken(Value::Data token) {
  scheduled_.notify({std::nullopt, {}, std::move(token)});
}

void SimPushService::receiveWaiting() {
  if (!connected_) return;
  for (const Delivery& delivery : std::exchange(waiting_, {})) {
    notifications_.post(kPushReceivedMessage);
    scheduled_.notify(delivery);
  }
}

}  // namespace zorva

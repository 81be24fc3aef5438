// SPDX-License-Identifier: Apache-2.0
#include "platform/wifi/sim/SimWiFiManager.h"

#include <string>
#include <utility>

namespace zorva {
namespace {

std::optional<WiFiNetwork> networkIn(const ScenarioNode& node) {
  if (node.isNothing()) return std::nullopt;
  const auto keys = node.keys({"ssid"});
  WiFiNetwork network;
  if (const auto* given = keys.find("ssid")) {
    const Value value = given->value();
    network.ssid =
        value.data() ? std::string(value.data()->begin(), value.data()->end()) : given->anyText();
    if (network.ssid->size() > 32) given->refuse("an SSID has at most 32 bytes");
  }
  return network;
}

}  // namespace

/// Each attachment creates another one; a detached one is off forever.
class SimWiFiManager::Device : public WiFiDevice {
 public:
  explicit Device(std::weak_ptr<State> state) : state_(std::move(state)) {}

  bool powered() override {
    const auto state = state_.lock();
    return state && state->device.get() == this && state->powered;
  }
  std::optional<WiFiNetwork> copyCurrentNetwork() override {
    if (!powered()) return std::nullopt;
    return state_.lock()->network;
  }
  Registration observePower(std::function<void()> changed) override {
    return power.add(std::move(changed));
  }
  Registration observeLink(std::function<void()> changed) override {
    return link.add(std::move(changed));
  }

  Observers<> power;
  Observers<> link;

 private:
  std::weak_ptr<State> state_;
};

class SimWiFiManager::Client : public WiFiManagerClient {
 public:
  explicit Client(std::shared_ptr<State> state) : state_(std::move(state)) {}

  Registration schedule() override {
    ++state_->scheduled;
    return Registration([state = state_] { --state->scheduled; });
  }
  Registration observeAttachment(
      std::function<void(const std::shared_ptr<WiFiDevice>&)> attached) override {
    return state_->attachments.add(std::move(attached));
  }
  std::optional<std::vector<std::shared_ptr<WiFiDevice>>> copyDevices() override {
    if (state_->copyDevicesFault.strikes()) return std::nullopt;
    std::vector<std::shared_ptr<WiFiDevice>> devices;
    if (state_->device) devices.push_back(state_->device);
    return devices;
  }
  bool wowCapability() override { return state_->device && state_->wowSupported; }
  bool wowState() override { return state_->device && state_->wow; }

 private:
  std::shared_ptr<State> state_;
};

SimWiFiManager::SimWiFiManager(SimParts& parts)
    : createClientFault_(parts.faults, "wifi.createClient"),
      state_(std::make_shared<State>(parts.faults)) {
  state_->device = std::make_shared<Device>(state_);
  const auto setter = [this](void (SimWiFiManager::*set)(bool)) {
    return [this, set](const ScenarioNode& node) -> ScenarioAction {
      return [this, set, value = node.boolean()] { (this->*set)(value); };
    };
  };
  parts.sections.addBoth("wifi", [this, setter](const ScenarioNode& node) {
    return node.actions({{"attached", setter(&SimWiFiManager::setAttached)},
                         {"powered", setter(&SimWiFiManager::setPowered)},
                         {"network",
                          [this](const ScenarioNode& network) -> ScenarioAction {
                            return [this, to = networkIn(network)] { setNetwork(to); };
                          }},
                         {"wow_supported", setter(&SimWiFiManager::setWowSupported)},
                         {"wow", setter(&SimWiFiManager::setWow)}});
  });
}

std::shared_ptr<WiFiManagerClient> SimWiFiManager::createClient() {
  if (createClientFault_.strikes()) return nullptr;
  return std::make_shared<Client>(state_);
}

void SimWiFiManager::setAttached(bool attached) {
  if (attached == (state_->device != nullptr)) return;
  state_->device = attached ? std::make_shared<Device>(state_) : nullptr;
  if (attached && state_->scheduled > 0) state_->attachments.notify(state_->device);
}

void SimWiFiManager::setPowered(bool powered) {
  if (powered == std::exchange(state_->powered, powered)) return;
  if (const auto device = state_->device; device && state_->scheduled > 0) device->power.notify();
}

void SimWiFiManager::setNetwork(std::optional<WiFiNetwork> network) {
  state_->network = std::move(network);
  if (!state_->powered) return;
  if (const auto device = state_->device; device && state_->scheduled > 0) device->link.notify();
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/accessories/sim/SimAccessoryManager.h"

#include <algorithm>
#include <utility>

namespace zorva {
namespace {

std::uint32_t connectionIn(const ScenarioNode& node) {
  return static_cast<std::uint32_t>(node.integer(0, UINT32_MAX));
}

}  // namespace

SimAccessoryManager::SimAccessoryManager(SimParts& parts)
    : observeFault_(parts.faults, "accessories.observe"),
      registerFault_(parts.faults, "accessories.registerForLocalNotifications"),
      connectedAccessoriesFault_(parts.faults, "accessories.connectedAccessories") {
  const auto connect = [this](const ScenarioNode& node) { return readConnect(node); };
  const auto disconnect = [this](const ScenarioNode& node) { return readDisconnect(node); };
  parts.sections.addStart(
      "accessories", [connect](const ScenarioNode& node) { return eachOf(node.list(), connect); });
  parts.sections.addStep("accessories", [=](const ScenarioNode& node) {
    return node.actions(
        {{"connect", [=](const ScenarioNode& item) { return eachOf(item.oneOrMore(), connect); }},
         {"disconnect",
          [=](const ScenarioNode& item) { return eachOf(item.oneOrMore(), disconnect); }}});
  });
}

ScenarioAction SimAccessoryManager::readConnect(const ScenarioNode& node) {
  const auto keys = node.keys({"connection_id", "manufacturer", "name", "model", "serial",
                               "firmware", "hardware", "protocols"});
  const auto textOf = [&](const char* key) -> std::optional<std::string> {
    const ScenarioNode* given = keys.find(key);
    if (given == nullptr) return std::nullopt;
    return given->anyText();
  };
  Accessory accessory;
  accessory.connectionIdentifier = connectionIn(keys.require("connection_id"));
  accessory.manufacturer = textOf("manufacturer");
  accessory.name = textOf("name");
  accessory.modelNumber = textOf("model");
  accessory.serialNumber = textOf("serial");
  accessory.firmwareRevision = textOf("firmware");
  accessory.hardwareRevision = textOf("hardware");
  if (const auto* protocols = keys.find("protocols")) {
    for (const ScenarioNode& protocol : protocols->list()) {
      accessory.protocols.push_back(protocol.anyText());
    }
  }
  if (!planned_.insert(accessory.connectionIdentifier).second) {
    node.refuse("an accessory has this connection already");
  }
  return [this, accessory] { connect(accessory); };
}

ScenarioAction SimAccessoryManager::readDisconnect(const ScenarioNode& node) {
  const std::uint32_t connection = connectionIn(node);
  if (planned_.erase(connection) == 0) node.refuse("no accessory has this connection at that time");
  return [this, connection] { disconnect(connection); };
}

Registration SimAccessoryManager::observeConnected(std::function<void(const Accessory&)> event) {
  if (observeFault_.strikes()) return {};
  return connected_.add(std::move(event));
}

Registration SimAccessoryManager::observeDisconnected(std::function<void(const Accessory&)> event) {
  if (observeFault_.strikes()) return {};
  return disconnected_.add(std::move(event));
}

Registration SimAccessoryManager::registerForLocalNotifications() {
  if (registerFault_.strikes()) return {};
  ++registrations_;
  return Registration([this] { --registrations_; });
}

std::vector<Accessory> SimAccessoryManager::connectedAccessories() {
  if (connectedAccessoriesFault_.strikes()) return {};
  return accessories_;
}

void SimAccessoryManager::connect(Accessory accessory) {
  accessory.connected = true;
  accessories_.push_back(accessory);
  if (registered()) connected_.notify(accessory);
}

void SimAccessoryManager::disconnect(std::uint32_t connectionIdentifier) {
  const auto found = std::find_if(
      accessories_.begin(), accessories_.end(),
      [&](const Accessory& each) { return each.connectionIdentifier == connectionIdentifier; });
  if (found == accessories_.end()) return;
  Accessory gone = std::move(*found);
  accessories_.erase(found);
  gone.connected = false;
  if (registered()) disconnected_.notify(gone);
}

}  // namespace zorva

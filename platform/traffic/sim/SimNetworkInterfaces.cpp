// SPDX-License-Identifier: Apache-2.0
#include "platform/traffic/sim/SimNetworkInterfaces.h"

#include <algorithm>
#include <utility>

namespace zorva {

SimNetworkInterfaces::SimNetworkInterfaces(SimParts& parts)
    : addressesFault_(parts.faults, "interfaces.addresses") {
  parts.sections.addStart("interfaces", [this](const ScenarioNode& node) {
    planned().clear();
    const ScenarioAction each =
        eachOf(node.list(), [this](const ScenarioNode& item) { return readInterface(item); });
    return inTurn({[this] { clear(); }, each});
  });
  parts.sections.addStep("interfaces", [this](const ScenarioNode& node) { return readStep(node); });
  parts.sections.addStep("traffic", [this](const ScenarioNode& node) {
    return eachEntryOf(node, [this](const ScenarioNode& name, const ScenarioNode& bytes) {
      return readTraffic(name, bytes);
    });
  });
}

std::set<std::string>& SimNetworkInterfaces::planned() {
  if (!planned_) {
    planned_.emplace();
    for (const Interface& each : interfaces_) planned_->insert(each.name);
  }
  return *planned_;
}

ScenarioAction SimNetworkInterfaces::readInterface(const ScenarioNode& node) {
  const auto keys = node.keys({"name", "loopback", "received", "sent", "addresses", "counters"});
  Interface interface;
  interface.name = keys.require("name").text();
  if (const auto* loopback = keys.find("loopback")) interface.loopback = loopback->boolean();
  if (const auto* received = keys.find("received")) {
    interface.counters.received = static_cast<std::uint32_t>(received->integer(0, UINT32_MAX));
  }
  if (const auto* sent = keys.find("sent")) {
    interface.counters.sent = static_cast<std::uint32_t>(sent->integer(0, UINT32_MAX));
  }
  if (const auto* addresses = keys.find("addresses")) {
    interface.networkAddresses = static_cast<int>(addresses->integer(0, 100));
  }
  if (const auto* counters = keys.find("counters")) interface.hasCounters = counters->boolean();
  if (!planned().insert(interface.name).second) {
    keys.require("name").refuse("an interface has this name already");
  }
  return [this, interface] { setInterface(interface); };
}

ScenarioAction SimNetworkInterfaces::readStep(const ScenarioNode& node) {
  return node.actions(
      {{"add",
        [this](const ScenarioNode& added) {
          return eachOf(added.oneOrMore(),
                        [this](const ScenarioNode& item) { return readInterface(item); });
        }},
       {"remove", [this](const ScenarioNode& removed) {
          return eachOf(removed.oneOrMore(), [this](const ScenarioNode& item) -> ScenarioAction {
            const std::string name = item.text();
            if (planned().erase(name) == 0) item.refuse("no interface has this name at that time");
            return [this, name] { removeInterface(name); };
          });
        }}});
}

ScenarioAction SimNetworkInterfaces::readTraffic(const ScenarioNode& name,
                                                 const ScenarioNode& bytes) {
  const std::string interface = name.text();
  if (!planned().contains(interface)) name.refuse("no interface has this name at that time");
  const auto keys = bytes.keys({"received", "sent"});
  const auto count = [&](const char* key) -> std::uint32_t {
    const ScenarioNode* node = keys.find(key);
    return node == nullptr ? 0 : static_cast<std::uint32_t>(node->integer(0, UINT32_MAX));
  };
  return [this, interface, received = count("received"), sent = count("sent")] {
    addTraffic(interface, received, sent);
  };
}

std::optional<std::vector<NetworkInterfaces::Address>> SimNetworkInterfaces::addresses() {
  if (addressesFault_.strikes()) return std::nullopt;
  std::vector<Address> addresses;
  for (const Interface& each : interfaces_) {
    addresses.push_back({each.name, true, each.loopback, std::nullopt});
    if (each.hasCounters) addresses.back().counters = each.counters;
    addresses.insert(addresses.end(), each.networkAddresses,
                     {each.name, false, each.loopback, std::nullopt});
  }
  return addresses;
}

void SimNetworkInterfaces::setInterface(Interface interface) {
  for (Interface& each : interfaces_) {
    if (each.name == interface.name) {
      each = std::move(interface);
      return;
    }
  }
  interfaces_.push_back(std::move(interface));
}

bool SimNetworkInterfaces::removeInterface(const std::string& name) {
  return std::erase_if(interfaces_, [&](const auto& each) { return each.name == name; }) > 0;
}

bool SimNetworkInterfaces::addTraffic(const std::string& name, std::uint32_t received,
                                      std::uint32_t sent) {
  const auto found = std::find_if(interfaces_.begin(), interfaces_.end(),
                                  [&](const auto& each) { return each.name == name; });
  if (found == interfaces_.end()) return false;
  found->counters.received += received;
  found->counters.sent += sent;
  traffic_.notify(*found, std::uint64_t{received} + sent);
  return true;
}

}  // namespace zorva

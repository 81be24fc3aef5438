// SPDX-License-Identifier: Apache-2.0
#include "platform/reachability/sim/SimReachability.h"

#include <utility>

namespace zorva {
namespace {

std::uint32_t flagsIn(const ScenarioNode& node) {
  if (node.isScalar()) return static_cast<std::uint32_t>(node.integer(0, UINT32_MAX));
  static constexpr std::pair<const char*, std::uint32_t> kNames[] = {
      {"transient", reachability::kTransient},
      {"reachable", reachability::kReachable},
      {"conn_required", reachability::kConnectionRequired},
      {"conn_traffic", reachability::kConnectionOnTraffic},
      {"intervention", reachability::kInterventionRequired},
      {"on_demand", reachability::kConnectionOnDemand},
      {"wwan", reachability::kIsWWAN},
  };
  std::uint32_t flags = 0;
  for (const ScenarioNode& item : node.list()) {
    std::uint32_t bit = 0;
    std::string names;
    for (const auto& [name, value] : kNames) {
      if (item.text() == name) bit = value;
      names += names.empty() ? name : std::string(", ") + name;
    }
    if (bit == 0) item.refuse("there is no such flag; use one of: " + names);
    flags |= bit;
  }
  return flags;
}

}  // namespace

class SimReachability::Target : public ReachabilityTarget {
 public:
  explicit Target(SimReachability& service) : service_(service) {}

  bool setCallback(std::function<void(std::uint32_t)> changed) override {
    if (service_.setCallbackFault_.strikes()) return false;
    changed_ = std::move(changed);
    return true;
  }
  Registration schedule() override { return service_.targets_.add(changed_); }
  std::optional<std::uint32_t> flags() override { return service_.readFlags(); }

 private:
  SimReachability& service_;
  std::function<void(std::uint32_t)> changed_ = [](std::uint32_t) {};
};

SimReachability::SimReachability(SimParts& parts)
    : createTargetFault_(parts.faults, "reachability.createTarget"),
      setCallbackFault_(parts.faults, "reachability.setCallback"),
      flagsFault_(parts.faults, "reachability.flags") {
  parts.sections.addBoth("reachability", [this](const ScenarioNode& node) -> ScenarioAction {
    return [this, flags = flagsIn(node)] { setFlags(flags); };
  });
}

std::unique_ptr<ReachabilityTarget> SimReachability::createTarget(const IPv4SocketAddress&) {
  if (createTargetFault_.strikes()) return nullptr;
  return std::make_unique<Target>(*this);
}

void SimReachability::setFlags(std::uint32_t flags) {
  if (flags == std::exchange(flags_, flags)) return;
  targets_.notify(flags);
}

std::optional<std::uint32_t> SimReachability::readFlags() {
  if (flagsFault_.strikes()) return std::nullopt;
  return flags_;
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"
#include "platform/traffic/NetworkInterfaces.h"

namespace zorva {

/// The handset's network interfaces. Each has one link-layer address with counters, and as many
/// further addresses as it is given.
class SimNetworkInterfaces : public NetworkInterfaces {
 public:
  explicit SimNetworkInterfaces(SimParts& parts);

  std::optional<std::vector<Address>> addresses() override;

  struct Interface {
    std::string name;
    bool loopback = false;
    Counters counters{0, 0};
    int networkAddresses = 0;  ///< addresses beside the link-layer one
    bool hasCounters = true;   ///< the link-layer address carries the counters
  };

  void clear() { interfaces_.clear(); }
  /// Adds an interface at the end of the list, or replaces the one of that name in its place.
  void setInterface(Interface interface);
  /// False when there is none of that name.
  bool removeInterface(const std::string& name);
  /// Lets bytes pass; the counters wrap at 32 bits. False when there is no such interface.
  bool addTraffic(const std::string& name, std::uint32_t received, std::uint32_t sent);
  /// Calls back with the bytes, received and sent, that have passed an interface.
  Registration observeTraffic(std::function<void(const Interface&, std::uint64_t bytes)> passed) {
    return traffic_.add(std::move(passed));
  }

 private:
  SimFaultPoint addressesFault_;
  /// The names that will be there when the step that is being read happens.
  std::set<std::string>& planned();
  ScenarioAction readInterface(const ScenarioNode& node);
  ScenarioAction readStep(const ScenarioNode& node);
  ScenarioAction readTraffic(const ScenarioNode& name, const ScenarioNode& bytes);

  std::vector<Interface> interfaces_;
  Observers<const Interface&, std::uint64_t> traffic_;
  std::optional<std::set<std::string>> planned_;
};

}  // namespace zorva

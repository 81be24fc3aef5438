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

/// The handset's network interfaces. Each has one link-layer address with counters, and a given
/// number of further addresses.
class SimNetworkInterfaces : public NetworkInterfaces {
 public:
  explicit SimNetworkInterfaces(SimParts& parts);

  std::optional<std::vector<Address>> addresses() override;

  struct Interface {
    std::string name;
    bool loopback = false;
    Counters counters{0, 0};
    int networkAddresses = 0;  ///< addresses in addition to the link-layer one
    bool hasCounters = true;   ///< the link-layer address has the counters
  };

  void clear() { interfaces_.clear(); }
  /// Adds an interface at the end of the list, or replaces the one of that name.
  void setInterface(Interface interface);
  /// Returns false if there is none of that name.
  bool removeInterface(const std::string& name);
  /// Adds transferred bytes; the counters wrap at 32 bits. Returns false if there is no such
  /// interface.
  bool addTraffic(const std::string& name, std::uint32_t received, std::uint32_t sent);
  /// Calls back with the bytes, received and sent, that have passed an interface.
  Registration observeTraffic(std::function<void(const Interface&, std::uint64_t bytes)> passed) {
    return traffic_.add(std::move(passed));
  }

 private:
  SimFaultPoint addressesFault_;
  /// The names that will exist when the step being read is executed.
  std::set<std::string>& planned();
  ScenarioAction readInterface(const ScenarioNode& node);
  ScenarioAction readStep(const ScenarioNode& node);
  ScenarioAction readTraffic(const ScenarioNode& name, const ScenarioNode& bytes);

  std::vector<Interface> interfaces_;
  Observers<const Interface&, std::uint64_t> traffic_;
  std::optional<std::set<std::string>> planned_;
};

}  // namespace zorva

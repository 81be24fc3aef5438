#include "platform/sim/SimNetworkInterfaces.h"

#include <algorithm>
#include <utility>

namespace zorva {

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
  return true;
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/traffic/linux/LinuxNetworkInterfaces.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <memory>
#include <net/if.h>
#include <sys/socket.h>

namespace zorva {
namespace {

// Reads only the required figures: older kernels report fewer than the header declares.
std::uint32_t counterAt(const void* statistics, std::size_t offset) {
  std::uint32_t counter = 0;
  std::memcpy(&counter, static_cast<const std::uint8_t*>(statistics) + offset, sizeof counter);
  return counter;
}

}  // namespace

std::optional<std::vector<NetworkInterfaces::Address>> LinuxNetworkInterfaces::addresses() {
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0) return std::nullopt;
  const auto release = [](ifaddrs* list) { ::freeifaddrs(list); };
  const std::unique_ptr<ifaddrs, decltype(release)> list(first, release);

  std::vector<Address> addresses;
  for (const ifaddrs* element = first; element; element = element->ifa_next) {
    Address address;
    address.interface = element->ifa_name;
    // For an interface without a hardware address (tun, WireGuard, PPP, a modem's raw IP) the
    // link's element has counters but no address.
    address.linkLayer = element->ifa_addr != nullptr ? element->ifa_addr->sa_family == AF_PACKET
                                                     : element->ifa_data != nullptr;
    address.loopback = (element->ifa_flags & IFF_LOOPBACK) != 0;
    if (address.linkLayer && element->ifa_data) {
      address.counters =
          Counters{counterAt(element->ifa_data, offsetof(rtnl_link_stats, rx_bytes)),
                   counterAt(element->ifa_data, offsetof(rtnl_link_stats, tx_bytes))};
    }
    addresses.push_back(std::move(address));
  }
  return addresses;
}

}  // namespace zorva

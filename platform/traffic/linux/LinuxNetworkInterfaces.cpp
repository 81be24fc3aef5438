#include "platform/traffic/linux/LinuxNetworkInterfaces.h"

#include <cstring>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <memory>
#include <net/if.h>
#include <sys/socket.h>

namespace zorva {

std::optional<std::vector<NetworkInterfaces::Address>> LinuxNetworkInterfaces::addresses() {
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0) return std::nullopt;
  const auto release = [](ifaddrs* list) { ::freeifaddrs(list); };
  const std::unique_ptr<ifaddrs, decltype(release)> list(first, release);

  std::vector<Address> addresses;
  for (const ifaddrs* element = first; element; element = element->ifa_next) {
    Address address;
    address.interface = element->ifa_name;
    address.linkLayer = element->ifa_addr && element->ifa_addr->sa_family == AF_PACKET;
    address.loopback = (element->ifa_flags & IFF_LOOPBACK) != 0;
    if (address.linkLayer && element->ifa_data) {
      rtnl_link_stats statistics;
      std::memcpy(&statistics, element->ifa_data, sizeof(statistics));
      address.counters = Counters{statistics.rx_bytes, statistics.tx_bytes};
    }
    addresses.push_back(std::move(address));
  }
  return addresses;
}

}  // namespace zorva

#pragma once

#include <compare>
#include <cstdint>
#include <linux/netlink.h>
#include <map>
#include <string>
#include <vector>

namespace zorva {

struct NetworkLink {
  std::string name;
  unsigned type = 0;  ///< ARPHRD_
  bool up = false;
};

/// A way that a default route of IPv4 offers; the least is the one that is taken.
struct DefaultWay {
  bool otherTable;
  std::uint32_t metric;
  int link;
  auto operator<=>(const DefaultWay&) const = default;
};

// What a message of the kernel's routing says; nothing is added for another one, or one that is cut
// off before it tells.
void readLink(const nlmsghdr& message, std::map<int, NetworkLink>& links);
void readDefaultWays(const nlmsghdr& message, std::vector<DefaultWay>& ways);

}  // namespace zorva

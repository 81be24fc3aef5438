// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <linux/netlink.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

struct NetworkLink {
  std::string name;
  unsigned type = 0;  ///< ARPHRD_
  bool up = false;    ///< and has a carrier
  int lower = 0;      ///< index of the link that it stands on (VLAN, tunnel), or 0, or kElsewhere
  static constexpr int kElsewhere = -1;  ///< in another network namespace
};

/// A way out that a route offers; the least is the one that is taken first.
struct WayOut {
  bool hostRoute;  ///< to a single host by a gateway, else a default route
  bool otherTable;
  std::uint32_t metric;
  int link;
  auto operator<=>(const WayOut&) const = default;
};

// What a message of the kernel's routing says; nothing is added for another one, or one that is cut
// off before it says it.
void readLink(const nlmsghdr& message, std::map<int, NetworkLink>& links);
void readWaysOut(const nlmsghdr& message, std::vector<WayOut>& ways);
/// The link over which the kernel would send, from its answer to a look-up; nothing where it would
/// not send.
std::optional<int> linkOfLookup(const nlmsghdr& message);

}  // namespace zorva

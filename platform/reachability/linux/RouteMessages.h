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
  bool up = false;    ///< up, and has a carrier
  int lower = 0;      ///< index of the lower link (VLAN, tunnel), or 0, or kElsewhere
  static constexpr int kElsewhere = -1;  ///< in another network namespace
};

/// A route that may carry a tunnel; the least one is preferred.
struct CarrierRoute {
  bool hostRoute;  ///< to a single host through a gateway; otherwise a default route
  bool otherTable;
  std::uint32_t metric;
  int link;
  auto operator<=>(const CarrierRoute&) const = default;
};

// Reads a message of the kernel's routing; adds nothing for another message or a truncated one.
void readLink(const nlmsghdr& message, std::map<int, NetworkLink>& links);
void readCarrierRoutes(const nlmsghdr& message, std::vector<CarrierRoute>& routes);
/// The link over which the kernel would send, from its reply to a lookup; nothing if there is none.
std::optional<int> linkOfLookup(const nlmsghdr& message);

}  // namespace zorva

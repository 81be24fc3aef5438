// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// The list of interface addresses with the interfaces' traffic counters.
class NetworkInterfaces {
 public:
  virtual ~NetworkInterfaces() = default;

  /// Byte counters of a link since it came up. They wrap at 32 bits.
  struct Counters {
    std::uint32_t received;
    std::uint32_t sent;
  };

  /// One element of the list: one address of one interface.
  struct Address {
    std::string interface;             ///< name, any bytes
    bool linkLayer = false;            ///< a link-layer address; each interface has one
    bool loopback = false;             ///< the interface is a loopback interface
    std::optional<Counters> counters;  ///< only link-layer elements have them
  };

  /// The list in the system's own order, or nothing if it cannot be read.
  virtual std::optional<std::vector<Address>> addresses() = 0;
};

}  // namespace zorva

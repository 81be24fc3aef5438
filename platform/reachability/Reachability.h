// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/base/Registration.h"

namespace zorva {

/// Bits of the reachability flags; others may be set.
namespace reachability {
inline constexpr std::uint32_t kTransient = 0x1;
inline constexpr std::uint32_t kReachable = 0x2;
inline constexpr std::uint32_t kConnectionRequired = 0x4;
inline constexpr std::uint32_t kConnectionOnTraffic = 0x8;
inline constexpr std::uint32_t kInterventionRequired = 0x10;
inline constexpr std::uint32_t kConnectionOnDemand = 0x20;
inline constexpr std::uint32_t kIsWWAN = 0x40000;
}  // namespace reachability

/// An IPv4 address and port in network byte order.
struct IPv4SocketAddress {
  std::array<std::uint8_t, 4> address{};
  std::uint16_t port = 0;
};

/// An address whose reachability is watched.
class ReachabilityTarget {
 public:
  virtual ~ReachabilityTarget() = default;

  /// Sets the callback for changes, called on the run loop with the new flags. Returns false if
  /// changes cannot be observed.
  virtual bool setCallback(std::function<void(std::uint32_t flags)> changed) = 0;
  /// Delivers the callback on the run loop until the registration is destroyed.
  virtual Registration schedule() = 0;
  virtual std::optional<std::uint32_t> flags() = 0;
};

/// The network-reachability service.
class Reachability {
 public:
  virtual ~Reachability() = default;
  /// Null if no target can be created.
  virtual std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress& address) = 0;
};

}  // namespace zorva

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

/// An IPv4 address and port, network order.
struct IPv4SocketAddress {
  std::array<std::uint8_t, 4> address{};
  std::uint16_t port = 0;
};

/// An address whose reachability is watched.
class ReachabilityTarget {
 public:
  virtual ~ReachabilityTarget() = default;

  /// Sets what is called, on the run loop, with the new flags when they change. False when that
  /// cannot be had.
  virtual bool setCallback(std::function<void(std::uint32_t flags)> changed) = 0;
  /// Lets the callback arrive on the run loop until the registration is dropped.
  virtual Registration schedule() = 0;
  virtual std::optional<std::uint32_t> flags() = 0;
};

/// The network-reachability service.
class Reachability {
 public:
  virtual ~Reachability() = default;
  /// Nothing when no target can be made.
  virtual std::unique_ptr<ReachabilityTarget> createTarget(const IPv4SocketAddress& address) = 0;
};

}  // namespace zorva

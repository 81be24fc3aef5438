// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <linux/netlink.h>
#include <optional>
#include <span>
#include <string>

namespace zorva {

/// The attributes of a netlink message. A truncated one ends them.
class NetlinkAttributes {
 public:
  using Content = std::span<const std::uint8_t>;

  explicit NetlinkAttributes(Content bytes) : bytes_(bytes) {}

  void each(const std::function<void(int type, Content content)>& each) const;
  /// The last attribute of the type.
  std::optional<Content> find(int type) const;
  /// The 32-bit number at its start.
  std::optional<std::uint32_t> number(int type) const;
  /// Up to its NUL, if it has one.
  std::optional<std::string> text(int type) const;

 private:
  Content bytes_;
};

/// The attributes after the message's own header of that size; empty if the message is too short.
std::optional<NetlinkAttributes> attributesAfter(const nlmsghdr& message, std::size_t header);

/// The state of a reply after a datagram.
enum class NetlinkAnswer {
  Incomplete,  ///< its end has not arrived
  Done,
  Interrupted,  ///< complete, but the listed objects changed while the kernel listed them
  Refused,      ///< the kernel refused the request, or its reply is malformed
};

/// Reads the datagrams of one reply.
class NetlinkReader {
 public:
  using Each = std::function<void(const nlmsghdr& message)>;

  /// Messages with another sequence number belong to an earlier request and are skipped; 0 accepts
  /// every message.
  explicit NetlinkReader(std::uint32_t sequence = 0) : sequence_(sequence) {}

  /// Calls back with each complete message, up to the one that ends the reply. The bytes are
  /// aligned like messages.
  NetlinkAnswer read(std::span<const std::uint8_t> datagram, const Each& each);

 private:
  std::uint32_t sequence_;
  bool interrupted_ = false;
};

}  // namespace zorva

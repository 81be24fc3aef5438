// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <linux/netlink.h>
#include <optional>
#include <span>
#include <string>

namespace zorva {

/// The attributes of a netlink message. One that is cut off ends them.
class NetlinkAttributes {
 public:
  using Content = std::span<const std::uint8_t>;

  explicit NetlinkAttributes(Content bytes) : bytes_(bytes) {}

  void each(const std::function<void(int type, Content content)>& each) const;
  /// The last one of the type.
  std::optional<Content> find(int type) const;
  /// The 32-bit number that it begins with.
  std::optional<std::uint32_t> number(int type) const;
  /// Up to its NUL, if it has one.
  std::optional<std::string> text(int type) const;

 private:
  Content bytes_;
};

/// What follows the message's own header of that size; nothing when the message has no room for it.
std::optional<NetlinkAttributes> attributesAfter(const nlmsghdr& message, std::size_t header);

/// How far a datagram brought an answer.
enum class NetlinkAnswer {
  GoesOn,  ///< its end has not come
  Done,
  Interrupted,  ///< whole, but what is listed changed while the kernel listed it
  Refused,      ///< the kernel refused the request, or what it sent does not read as an answer
};

/// Reads the datagrams of one answer.
class NetlinkReader {
 public:
  using Each = std::function<void(const nlmsghdr& message)>;

  /// Messages with another sequence number belong to an earlier request and are skipped; 0 takes
  /// every message.
  explicit NetlinkReader(std::uint32_t sequence = 0) : sequence_(sequence) {}

  /// Hands over each whole message, up to the one that ends the answer. The bytes are aligned as
  /// messages are.
  NetlinkAnswer read(std::span<const std::uint8_t> datagram, const Each& each);

 private:
  std::uint32_t sequence_;
  bool interrupted_ = false;
};

}  // namespace zorva

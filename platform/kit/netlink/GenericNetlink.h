#pragma once

#include <cstdint>
#include <functional>
#include <linux/netlink.h>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/base/Descriptor.h"

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

struct GenericMessage {
  std::uint8_t command = 0;
  NetlinkAttributes attributes;
};
/// Nothing when the message has no room for the header.
std::optional<GenericMessage> genericMessageIn(const nlmsghdr& message);

/// The kernel's numbers for a family of generic netlink messages, and for its multicast groups.
struct GenericFamily {
  std::uint16_t id = 0;
  std::map<std::string, std::uint32_t> groups;
};
/// Nothing when the message describes none.
std::optional<GenericFamily> genericFamilyIn(const nlmsghdr& message);
/// Asks the kernel; nothing where it does not have the family.
std::optional<GenericFamily> findGenericFamily(const std::string& name);

/// A generic netlink request, put together attribute by attribute.
class GenericRequest {
 public:
  GenericRequest(std::uint16_t family, std::uint16_t flags, std::uint8_t command);

  GenericRequest& with(std::uint16_t type, const void* value = nullptr, std::size_t size = 0);
  GenericRequest& with(std::uint16_t type, std::uint32_t value) {
    return with(type, &value, sizeof value);
  }
  /// As netlinkRequest().
  bool send(const std::function<void(const nlmsghdr& message)>& each);

 private:
  void append(const void* value, std::size_t size);

  std::vector<std::uint8_t> bytes_;
};

/// A socket that hears the groups, and does not wait; none when there is no such protocol.
Descriptor openNetlink(int protocol, const std::vector<std::uint32_t>& groups);

}  // namespace zorva

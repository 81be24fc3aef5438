// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <linux/netlink.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/kit/netlink/NetlinkMessages.h"

namespace zorva {

struct GenericMessage {
  std::uint8_t command = 0;
  NetlinkAttributes attributes;
};
/// Nothing if the message is too short for the header.
std::optional<GenericMessage> genericMessageIn(const nlmsghdr& message);

/// The kernel's ids of a generic netlink family and of its multicast groups.
struct GenericFamily {
  std::uint16_t id = 0;
  std::map<std::string, std::uint32_t> groups;
  bool operator==(const GenericFamily&) const = default;
};
/// Nothing if the message does not describe a family.
std::optional<GenericFamily> genericFamilyIn(const nlmsghdr& message);
/// Queries the kernel. Refused: it does not have the family. Incomplete: it did not reply.
NetlinkAnswer findGenericFamily(const std::string& name, std::optional<GenericFamily>& family);

/// A generic netlink request, built attribute by attribute.
class GenericRequest {
 public:
  GenericRequest(std::uint16_t family, std::uint16_t flags, std::uint8_t command);

  GenericRequest& with(std::uint16_t type, const void* value = nullptr, std::size_t size = 0);
  GenericRequest& with(std::uint16_t type, std::uint32_t value) {
    return with(type, &value, sizeof value);
  }
  /// Like NetlinkSocket::request(), on a socket of its own.
  NetlinkAnswer send(const NetlinkReader::Each& each, const std::function<void()>& again = {});

 private:
  void append(const void* value, std::size_t size);

  std::vector<std::uint8_t> bytes_;
};

}  // namespace zorva

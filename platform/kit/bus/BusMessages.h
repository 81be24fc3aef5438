// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <systemd/sd-bus.h>

// Helpers of the readers of the services' messages.
namespace zorva {

/// ".../Modem/2" before ".../Modem/10".
struct ObjectPathOrder {
  bool operator()(const std::string& left, const std::string& right) const {
    return left.size() != right.size() ? left.size() < right.size() : left < right;
  }
};

/// Enters a container of the message. Returns false if there is no such container at this position,
/// or if an array has no further element.
inline bool enterContainer(sd_bus_message* message, char type, const char* contents) {
  return sd_bus_message_enter_container(message, type, contents) > 0;
}
inline bool leaveContainer(sd_bus_message* message) {
  return sd_bus_message_exit_container(message) >= 0;
}

}  // namespace zorva

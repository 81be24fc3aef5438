// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include "platform/kit/bus/LinuxBus.h"

namespace zorva {

/// The login manager on the bus.
inline constexpr const char* kLoginService = "org.freedesktop.login1";
inline constexpr const char* kLoginPath = "/org/freedesktop/login1";
inline constexpr const char* kLoginManager = "org.freedesktop.login1.Manager";

/// Reads one property of an object. The reply is positioned at the property's content, of the D-Bus
/// type `type`; another type is a failure.
inline LinuxBus::Reply getProperty(LinuxBus& bus, const char* service, const char* path,
                                   const char* interface, const char* name, const char* type) {
  LinuxBus::Reply reply = bus.call(
      service, path, "org.freedesktop.DBus.Properties", "Get",
      [&](sd_bus_message* call) { return sd_bus_message_append(call, "ss", interface, name); });
  if (reply.outcome == LinuxBus::Outcome::Answered &&
      sd_bus_message_enter_container(reply.message.get(), SD_BUS_TYPE_VARIANT, type) <= 0) {
    return {LinuxBus::Outcome::Failed, nullptr};
  }
  return reply;
}

}  // namespace zorva

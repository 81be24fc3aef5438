// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <systemd/sd-bus.h>

#include "platform/kit/bus/BusMessages.h"

namespace zorva {

namespace bluez {
inline constexpr const char* kService = "org.bluez";
inline constexpr const char* kManagerPath = "/";
inline constexpr const char* kPath = "/org/bluez";  ///< above every controller and device
inline constexpr const char* kAdapter = "org.bluez.Adapter1";
inline constexpr const char* kDevice = "org.bluez.Device1";
}  // namespace bluez

/// The boolean properties of one interface.
using BluezFlags = std::map<std::string, bool>;
/// The properties of BlueZ's objects (controllers and devices) by path and interface, "hci2" before
/// "hci10". Names and addresses that BlueZ sends are skipped unread.
using BluezObjects = std::map<std::string, std::map<std::string, BluezFlags>, ObjectPathOrder>;

// Readers of the service's messages. A reader stops at content of another form and keeps what it
// has read until then.

/// "a{oa{sa{sv}}}", the reply to GetManagedObjects.
void readBluezObjects(sd_bus_message* message, BluezObjects& objects);
/// "oa{sa{sv}}", the signal InterfacesAdded.
void readBluezAdded(sd_bus_message* signal, BluezObjects& objects);
/// "oas", the signal InterfacesRemoved.
void readBluezRemoved(sd_bus_message* signal, BluezObjects& objects);
/// "sa{sv}as", the signal PropertiesChanged of one object; ignored if the object is unknown.
void readBluezChanged(sd_bus_message* signal, BluezObjects& objects);

/// The first controller as the Bluetooth server describes it.
struct BluezController {
  bool present = false;
  bool powered = false;
  bool discoverable = false;
  bool connectable = false;
  bool connected = false;  ///< one of its devices is connected
  bool operator==(const BluezController&) const = default;
};

/// Only newer versions of BlueZ report "Connectable". Without it a powered controller counts as
/// connectable, because BlueZ makes it so once a device is paired.
BluezController readBluezController(const BluezObjects& objects);

}  // namespace zorva

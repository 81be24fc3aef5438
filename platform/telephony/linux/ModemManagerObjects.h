// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

#include "platform/base/Value.h"
#include "platform/kit/bus/BusMessages.h"

namespace zorva {

namespace mm {
inline constexpr const char* kService = "org.freedesktop.ModemManager1";
inline constexpr const char* kPath = "/org/freedesktop/ModemManager1";
inline constexpr const char* kModem = "org.freedesktop.ModemManager1.Modem";
inline constexpr const char* kModem3gpp = "org.freedesktop.ModemManager1.Modem.Modem3gpp";
inline constexpr const char* kSignal = "org.freedesktop.ModemManager1.Modem.Signal";
inline constexpr const char* kLocation = "org.freedesktop.ModemManager1.Modem.Location";
inline constexpr const char* kVoice = "org.freedesktop.ModemManager1.Modem.Voice";
inline constexpr const char* kMessaging = "org.freedesktop.ModemManager1.Modem.Messaging";
inline constexpr const char* kBearer = "org.freedesktop.ModemManager1.Bearer";
inline constexpr const char* kCall = "org.freedesktop.ModemManager1.Call";
}  // namespace mm

/// The properties of one object of the service, by interface.
using ModemProperties = std::map<std::string, Dictionary>;
/// What is known of the service's objects: modems, and the bearers and calls that they name.
using ModemObjects = std::map<std::string, ModemProperties, ObjectPathOrder>;

/// The property, or nothing.
const Value& property(const ModemObjects& objects, const std::string& path, const char* interface,
                      const char* name);
/// The object paths that a property lists ("Bearers", "Calls").
std::vector<std::string> listedPaths(const ModemObjects& objects, const std::string& modem,
                                     const char* interface, const char* name);

// Readers of the service's messages. What they keep is only what is asked for somewhere: identities
// (the equipment's, the subscriber's, numbers, positions) are passed over unread. False for a
// message that is not of the form; what stood before the fault is kept then.

/// "a{oa{sa{sv}}}", into objects.
bool readManagedObjects(sd_bus_message* message, ModemObjects& objects);
/// "a{sa{sv}}".
bool readInterfaces(sd_bus_message* message, ModemProperties& properties);
/// "a{sv}", the properties of one interface.
bool readProperties(sd_bus_message* message, const std::string& interface,
                    ModemProperties& properties);
/// "sa{sv}as": an interface, what changed in it, and what is not known any more.
bool readPropertiesChanged(sd_bus_message* message, ModemProperties& properties);

}  // namespace zorva

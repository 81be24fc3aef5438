// SPDX-License-Identifier: Apache-2.0
#include "report/redact/OwnMessages.h"

#include <algorithm>

namespace zorva {
namespace {

// As they stand in the code of the loggers; tests/redact_test.py compares the two.
constexpr std::string_view kMessages[] = {
    "Bluetooth power ERROR: BTLocalDeviceGetConnectable: failed! %d",
    "Bluetooth power ERROR: BTLocalDeviceGetConnectionStatus: failed! %d",
    "Bluetooth power ERROR: BTLocalDeviceGetDefault: failed! %d",
    "Bluetooth power ERROR: BTLocalDeviceGetDiscoverable: failed! %d",
    "Bluetooth power ERROR: BTLocalDeviceGetModulePower: failed! %d",
    "Call to IOPMCopyAssertionsByProcess failed",
    "Connection to Bluvane lost - attempting a reconnect in %d seconds",
    "Could not add local device callbacks. (error: %d)",
    "Could not attach session. (error: %d)",
    "Could not attach the Bluetooth session. (error: %d)",
    "Could not detach the Bluetooth session. (error: %d)",
    "Could not get wake reason (errno: %d)",
    "Could not register for Power notifications. (error: %d)",
    "Energy: No counter can be read",
    "Error calling IOServiceAddInterestNotification (0x%08x)",
    "Failed to create a WiFiManagerClientRef",
    "Network: Error calling getifaddrs()",
    "Suspend: The records of sleeps cannot be read",
    "Syslog query exceeded maximum number of results",
    "Syslog query returned a duplicate result (%d,%d)",
    "Unable to change back to original user",
    "Unable to change to mobile user",
    "Unable to determine mobile user id",
    "Unable to get a run loop source for battery notifications",
    "Unable to read LBBacklightLevel2, assuming the value is the default of %f",
    "Unable to register a reachability callback",
    "Work: The units cannot be read",
    "ZVTelephonyConnectedLogger must be created with a valid connection",
    "slq_set_query failed with error code %d",
    "unable to retrieve kern.bootargs",
    "unable to retrieve size of kern.bootargs",
};

// What a conversion can have written: "-5", "0.500000", "nan", and with "0x%08x" "e00002bc".
std::size_t figureLength(std::string_view text, char conversion) {
  constexpr std::size_t kMost = 20;
  const std::string_view allowed = conversion == 'x'   ? "0123456789abcdef"
                                   : conversion == 'f' ? "-.0123456789aefinx"
                                                       : "-0123456789";
  const std::size_t end = std::min(text.find_first_not_of(allowed), text.size());
  return end <= kMost ? end : 0;
}

bool matches(std::string_view text, std::string_view format) {
  while (!format.empty()) {
    const std::size_t literal = std::min(format.find('%'), format.size());
    if (!text.starts_with(format.substr(0, literal))) return false;
    text.remove_prefix(literal);
    format.remove_prefix(literal);
    if (format.empty()) break;
    const std::size_t conversion = format.find_first_of("dfx");
    const std::size_t figure = figureLength(text, format[conversion]);
    if (figure == 0) return false;
    text.remove_prefix(figure);
    format.remove_prefix(conversion + 1);
  }
  return text.empty();
}

}  // namespace

bool isOwnMessage(std::string_view text) {
  return std::ranges::any_of(kMessages,
                             [&](std::string_view format) { return matches(text, format); });
}

}  // namespace zorva

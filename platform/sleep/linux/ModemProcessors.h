// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sleep/linux/WakeReason.h"

namespace zorva {

/// The modems inside the machine's own processor (Qualcomm's): remote processors that the device
/// tree calls modems. The modem's messages arrive over a link of that processor, while the device
/// that the modem manager names is another one, which carries the mobile data.
///
/// Of the `interrupts`, each modem gets those that are its link's by the device tree, and as shared
/// ones those that are a link's of any processor by their name.
std::vector<ModemDevice> readModemProcessors(const std::string& sysfs,
                                             const std::set<std::int64_t>& interrupts);

/// Whether the interrupt of these handlers is a link to another processor. Modem, sensors, audio
/// and Wi-Fi have the same names.
bool isProcessorLink(std::string_view handlers);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

/// What the power source publishes under the key, computed from the kernel's attributes of the
/// battery, or nothing when they do not have it. docs/linux-battery.md lists the sources and units.
Value powerSourceProperty(const std::string& key, const SysfsAttributes& attributes);

/// Everything the power source publishes. Every attribute is read at most once.
Dictionary powerSourceProperties(const SysfsAttributes& attributes);

/// Whether the battery measures its own current and its own full charge.
bool supplyHasGasGauge(const SysfsAttributes& attributes);

}  // namespace zorva

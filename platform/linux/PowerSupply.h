#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/Value.h"

namespace zorva {

/// Reads one attribute of a power supply ("voltage_now"), without the newline at its end; nothing
/// when the supply has no such attribute or cannot tell it now.
using SupplyAttributes = std::function<std::optional<std::string>(const std::string& name)>;

/// What the power source publishes under the key, computed from the kernel's attributes of the
/// battery, or nothing when they do not tell it. docs/linux-battery.md lists the sources and units.
Value powerSourceProperty(const std::string& key, const SupplyAttributes& attributes);

/// Everything the power source publishes. Every attribute is read at most once.
Dictionary powerSourceProperties(const SupplyAttributes& attributes);

/// Whether the battery measures its own current and its own full charge.
bool supplyHasGasGauge(const SupplyAttributes& attributes);

}  // namespace zorva

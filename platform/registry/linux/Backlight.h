// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "platform/base/Value.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

/// How bright the backlight shines, in its own units: what the hardware reports, else what was
/// asked of it; 0 while its power is off. Nothing when it reports none.
/// docs/linux-display-thermal.md says more.
std::optional<std::int64_t> backlightBrightness(const SysfsAttributes& attributes);

/// What the backlight publishes: "backlight-control" and "IODisplayParameters".
Dictionary backlightProperties(const SysfsAttributes& attributes);

/// Which of several backlights of one display is the one to trust: a smaller number is a better
/// kind. Firmware before platform before raw, as the kernel advises.
int backlightRank(const SysfsAttributes& attributes);

}  // namespace zorva

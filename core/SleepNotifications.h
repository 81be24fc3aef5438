// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Posted in this process by the sleep/wake logger when the system announces that it will sleep,
/// before the entry and before sleep is allowed.
inline constexpr const char* kDeviceWillSleep = "ZVDeviceWillSleepNotification";

/// Posted after the entries of a wake.
inline constexpr const char* kDeviceDidWake = "ZVDeviceDidWakeNotification";

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Posted in this process by the battery logger on every battery status change, before its entry.
inline constexpr const char* kBatteryStatusDidChange = "ZVBatteryStatusDidChangeNotification";

/// User information of all three: the std::shared_ptr<ZVBatteryProperties> of the change.
inline constexpr const char* kBatteryStatusProperties = "ZVBatteryStatusPropertiesKey";

/// Posted after the entry when the whole-percent level has changed.
inline constexpr const char* kBatteryLevelDidChange = "ZVBatteryLevelDidChangeNotification";

/// Posted instead when the level has not changed for longer than the preference
/// "ZVSecondsBeforeSignificantTimeTriggered".
inline constexpr const char* kBatteryLevelDidNotChangeForSignificantTime =
    "ZVBatteryLevelDidNotChangeForSignificantTimeNotification";

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

class PreferencesStore;

// The settings that change what is recorded, in the domain "com.vennor.zorva" of the user "mobile"
// on this host.

/// Seconds, 1800.0 by default: how long the battery level may stay unchanged before the
/// level-triggered entries are written anyway.
inline constexpr const char* kSecondsBeforeSignificantTimeTriggered =
    "ZVSecondsBeforeSignificantTimeTriggered";
/// Boolean, false by default: whether push messages are logged with their contents.
inline constexpr const char* kShowNMXContents = "ZVShowNMXContents";
/// Boolean, false by default: whether the Wi-Fi snapshot reads the driver's counters.
inline constexpr const char* kShouldQueryWiFiPowerUsage = "ZVShouldQueryWiFiPowerUsage";
/// Boolean, true by default: whether the system log is copied into the log. Read at start only.
inline constexpr const char* kRecordSyslog = "ZVRecordSyslog";

/// The value stored now, or nothing. Values are not cached, so a change in the store takes effect
/// at the next read.
Value CopyPreferenceValue(PreferencesStore& store, const std::string& key);

/// Sets the value and writes it to the store's file at once. Failures are not reported.
void SetPreferenceValue(PreferencesStore& store, const std::string& key, Value value);

/// Writes the default only if the key has no value yet.
void RegisterPreferenceDefault(PreferencesStore& store, const std::string& key, Value value);

/// Writes the default of each setting that has no value yet.
void RegisterPreferenceDefaults(PreferencesStore& store);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/registry/DeviceRegistry.h"
#include "platform/system/DeviceInformation.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// One reading of the battery's registry entry. The entry is read once, at the first access, so
/// that all values are consistent; only the voltage is read each time.
///
/// Properties that the entry lacks are 0, 0.0 or false.
class ZVBatteryProperties {
 public:
  struct Sources {
    DeviceRegistry& registry;
    DeviceInformation& device;
    SystemLog& systemLog;
  };

  /// A reading of the registry's first power source; if there is none, every property is missing.
  explicit ZVBatteryProperties(const Sources& sources);
  ZVBatteryProperties(const Sources& sources, std::shared_ptr<RegistryEntry> batteryEntry);

  /// Discards the reading; the next access reads the entry again.
  void invalidateCache() { batteryProperties_.reset(); }

  /// The whole reading, or null if the entry cannot be read; the next access then tries again.
  const Dictionary* batteryProperties();
  /// The value of the key in the reading, or nothing.
  Value propertyForKey(const std::string& key);

  bool fullyCharged();
  bool isCharging();
  bool isCritical();
  /// True if the battery is neither charging nor full.
  bool draining();
  /// Instantaneous current in mA, negative while discharging.
  std::int32_t current();
  /// Current in mA, averaged if the gauge supports that.
  std::int32_t chargingCurrent();
  /// Design capacity in mAh.
  std::int32_t designCapacity();
  std::int32_t cycleCount();
  /// Hundredths of a degree Celsius.
  std::int32_t batteryTemp();
  /// Full-charge capacity in mAh.
  double maxCapacity();
  /// Charge in percent of the maximum. If the maximum is 0, the result is NaN, or infinite if the
  /// charge is not 0.
  double capacity();
  /// In raw gauge units.
  std::int32_t rawMaxCapacity();
  /// Charge in percent of the raw maximum, rounded half away from zero; 0 without a raw maximum.
  std::int32_t rawCapacity();
  /// Voltage in mV, read at each call; -1 with a line in the system log if the entry lacks it.
  std::int32_t voltage();

  /// Whether the battery measures its own current and capacity. Read from the device once per
  /// process.
  bool gasGaugeEnabled();

  /// "Active", "Full", "Inactive", or what prevents charging: "OverTemp", "UnderTemp", "Gradient"
  /// or the registry's own text.
  std::string humanReadableChargingState();

 private:
  Sources sources_;
  std::shared_ptr<RegistryEntry> batteryEntry_;
  std::optional<Dictionary> batteryProperties_;
};

/// A level in percent as a whole number, its fraction truncated. A level that is not finite, or is
/// below 0, is 0; one that is too large is clamped.
std::uint32_t wholePercent(double capacity);

}  // namespace zorva

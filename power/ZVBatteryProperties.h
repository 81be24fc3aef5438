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

/// One reading of the battery's registry entry. The entry is read once, on the first question, so
/// that all answers belong together; only the voltage is read anew each time.
///
/// What the entry lacks reads as 0, 0.0 or false.
class ZVBatteryProperties {
 public:
  struct Sources {
    DeviceRegistry& registry;
    DeviceInformation& device;
    SystemLog& systemLog;
  };

  /// A reading of the registry's first power source; without one every property is missing.
  explicit ZVBatteryProperties(const Sources& sources);
  ZVBatteryProperties(const Sources& sources, std::shared_ptr<RegistryEntry> batteryEntry);

  /// Forgets the reading; the next question reads the entry again.
  void invalidateCache() { batteryProperties_.reset(); }

  /// The whole reading, or none when the entry cannot be read; the next question then tries again.
  const Dictionary* batteryProperties();
  /// The value of the key in the reading, or nothing.
  Value propertyForKey(const std::string& key);

  bool fullyCharged();
  bool isCharging();
  bool isCritical();
  /// Neither charging nor full.
  bool draining();
  /// mA at this instant, negative while discharging.
  std::int32_t current();
  /// mA, averaged where the gauge does that.
  std::int32_t chargingCurrent();
  /// mAh when new.
  std::int32_t designCapacity();
  std::int32_t cycleCount();
  /// Hundredths of a degree Celsius.
  std::int32_t batteryTemp();
  /// mAh when full.
  double maxCapacity();
  /// Charge in percent of the maximum. Without a maximum it is not a number, or infinite when there
  /// is a charge all the same.
  double capacity();
  /// In raw gauge units.
  std::int32_t rawMaxCapacity();
  /// Charge in percent of the raw maximum, rounded, halves away from zero; 0 without a raw maximum.
  std::int32_t rawCapacity();
  /// mV, read now; -1 with a line on the system log when the entry lacks it.
  std::int32_t voltage();

  /// Whether the battery measures its own current and capacity. Asked of the device once per
  /// process.
  bool gasGaugeEnabled();
  /// The device is asked again at the next access.
  static void forgetGasGauge() { sGasGaugeEnabled.reset(); }

  /// "Active", "Full", "Inactive", or what hinders charging: "OverTemp", "UnderTemp", "Gradient" or
  /// the registry's own text.
  std::string humanReadableChargingState();

 private:
  inline static std::optional<bool> sGasGaugeEnabled;  ///< the device's answer

  Sources sources_;
  std::shared_ptr<RegistryEntry> batteryEntry_;
  std::optional<Dictionary> batteryProperties_;
};

/// A level in percent as a whole number, its fraction dropped. A level that is no finite number, or
/// below 0, is 0; one that does not fit is the largest that does.
std::uint32_t wholePercent(double capacity);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/registry/DeviceRegistry.h"
#include "platform/storage/PreferencesStore.h"
#include "platform/system/BatteryUsage.h"
#include "power/ZVBatteryProperties.h"

namespace zorva {

/// Logs the battery's state, and posts the notifications on which other loggers take their
/// snapshots:
///
///     11/16/26 14:07:16 [Battery] level=80.00%; voltage=3921 mV; current=-212 mA; ...
class ZVBatteryLogger : public ZVLogger {
 public:
  /// Creates the logger; returns null if the subscription to the battery's messages fails.
  static std::unique_ptr<ZVBatteryLogger> logger(const Services& services,
                                                 const ZVBatteryProperties::Sources& sources,
                                                 BatteryUsage& usage,
                                                 PreferencesStore& preferences);

  void log() override;
  void logBatteryProperties(ZVBatteryProperties& properties);

  /// Handles one change: notifies the observers, writes the entry, and notifies them again if the
  /// level has changed, or has not changed for a significant time.
  void batteryStatusChanged(const std::shared_ptr<ZVBatteryProperties>& properties);

  /// Seconds in use and on standby since the last full charge; -1.0 if unknown.
  void getUsageAndStandbyTime(float& usage, float& standby);

  /// The preference's current value; 0.0 if it is missing.
  double secondsBeforeSignificantTimeTriggered();

  Date lastBatteryLevelChangeDate() const { return lastBatteryLevelChangeDate_; }
  void setLastBatteryLevelChangeDate(Date date) { lastBatteryLevelChangeDate_ = date; }

 private:
  ZVBatteryLogger(const Services& services, const ZVBatteryProperties::Sources& sources,
                  BatteryUsage& usage, PreferencesStore& preferences);
  bool subscribe();
  std::string timeOrUnknown(float seconds) const;

  ZVBatteryProperties::Sources sources_;
  BatteryUsage& usage_;
  PreferencesStore& preferences_;
  std::unique_ptr<RegistryNotificationPort> ioNotifyPort_;
  Registration notificationRef_;  // destroyed before its port
  std::shared_ptr<RegistryEntry> batteryEntry_;
  std::uint32_t lastBatteryLevel_ = 0;
  Date lastBatteryLevelChangeDate_;
};

}  // namespace zorva

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

/// Logs the battery's state, and is the heartbeat by which other loggers take their snapshots:
///
///     11/16/26 14:07:16 [Battery] level=80.00%; voltage=3921 mV; current=-212 mA; ...
class ZVBatteryLogger : public ZVLogger {
 public:
  /// The logger, or nothing when the battery's messages cannot be subscribed to.
  static std::unique_ptr<ZVBatteryLogger> logger(const Services& services,
                                                 const ZVBatteryProperties::Sources& sources,
                                                 BatteryUsage& usage,
                                                 PreferencesStore& preferences);

  void log() override;
  void logBatteryProperties(ZVBatteryProperties& properties);

  /// Handles one change: notifies the observers, writes the entry, and notifies them again when the
  /// level moved, or has not for a significant time.
  void batteryStatusChanged(const std::shared_ptr<ZVBatteryProperties>& properties);

  /// Seconds in use and on standby since the last full charge; -1.0 where that is not known.
  void getUsageAndStandbyTime(float& usage, float& standby);

  /// The preference, read now; 0.0 when it is missing.
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
  Registration notificationRef_;  // goes before its port
  std::shared_ptr<RegistryEntry> batteryEntry_;
  std::uint32_t lastBatteryLevel_ = 0;
  Date lastBatteryLevelChangeDate_;
};

}  // namespace zorva

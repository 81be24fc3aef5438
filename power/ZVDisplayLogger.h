// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "core/ZVLogger.h"
#include "platform/registry/DeviceRegistry.h"

namespace zorva {

/// Logs the display's backlight, at each snapshot and whenever it announces a new brightness:
///
///     11/16/26 14:07:16 [Display] brightness=120; min=0; max=255; active=yes;
///
/// The figures are in the backlight's own units.
class ZVDisplayLogger : public ZVLogger {
 public:
  /// Creates the logger; returns null if the subscription to the backlight's messages fails.
  static std::unique_ptr<ZVDisplayLogger> logger(const Services& services,
                                                 DeviceRegistry& registry);

  void log() override;

  /// The brightness that the backlight reports now ("min", "max", "value"), or nothing.
  std::optional<Dictionary> brightnessParameters();

  /// The brightness read at the start, or the last one that the backlight has announced.
  long currentBrightness() const { return currentBrightness_; }
  void setCurrentBrightness(long brightness) { currentBrightness_ = brightness; }

 private:
  ZVDisplayLogger(const Services& services, DeviceRegistry& registry);
  bool subscribe();

  DeviceRegistry& registry_;
  std::unique_ptr<RegistryNotificationPort> ioNotifyPort_;
  Registration notificationRef_;  // destroyed before its port
  std::shared_ptr<RegistryEntry> backlightService_;
  long currentBrightness_ = 0;
};

}  // namespace zorva

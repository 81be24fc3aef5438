// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/sleep/KernelValues.h"
#include "platform/storage/PreferencesStore.h"
#include "platform/system/ProfileSettings.h"
#include "power/ZVBatteryProperties.h"
#include "telephony/ZVTelephonyConnectedLogger.h"

namespace zorva {

/// Logs the configuration of the device: one entry at each snapshot.
///
///     11/16/26 14:07:16 [Config] version=5; build=5C104; device=LB20; fb_key=3d5f1b60c8e2497a;
///     boot_args=; auto_lock=60; backlight=0.500; als=enabled; baseband=07.11.00; cycle_count=52;
///     max_capacity=1400; design_capacity=1420;
///
/// Values are not cached: every call reads its source.
class ZVConfigLogger : public ZVTelephonyConnectedLogger {
 public:
  struct Sources {
    ZVBatteryProperties::Sources battery;
    KernelValues& kernel;
    ProfileSettings& profile;
    PreferencesStore& preferences;
  };

  static std::unique_ptr<ZVConfigLogger> loggerWithConnection(const Services& services,
                                                              TelephonyNotifications& notifications,
                                                              const Connection& connection,
                                                              const Sources& sources);

  void log() override;

  std::optional<std::string> buildVersion() const;
  std::optional<std::string> faultboxKey() const;
  std::optional<std::string> hardwareModel() const;
  /// Without surrounding blanks; nothing, with an error entry, if the kernel does not report them.
  std::optional<std::string> bootArgs();
  /// In the unit of the profile settings; 0 if the setting has no value.
  std::int32_t autolockTime() const;
  /// The display's brightness as the user has set it, from 0.0 to 1.0; 0.5, with an error entry, if
  /// it is unknown.
  double backlightLevel();
  /// Whether the brightness follows the ambient light: true unless that is switched off.
  bool alsEnabled() const;
  /// "<none>" if the telephony server does not report it.
  std::string basebandFirmware() const;

 private:
  ZVConfigLogger(const Services& services, TelephonyNotifications& notifications,
                 const Connection& connection, const Sources& sources);

  std::optional<std::string> deviceText(const char* key) const;
  Value preference(const char* key) const;
  std::string batteryFields() const;

  Sources sources_;
};

}  // namespace zorva

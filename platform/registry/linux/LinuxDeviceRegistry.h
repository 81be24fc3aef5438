// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <systemd/sd-event.h>

#include "platform/registry/DeviceRegistry.h"

namespace zorva {

/// The kernel's power_supply and backlight classes. Everything is read from the kernel at the
/// moment of the call.
///
/// The power source is the first battery of the device itself: of type "Battery", not of a
/// peripheral (scope "Device"), in its place rather than out of it, the lowest by name. The
/// backlight is the one of the best type, then the lowest by name.
class LinuxDeviceRegistry : public DeviceRegistry {
 public:
  static constexpr const char* kPowerSupplies = "/sys/class/power_supply";
  static constexpr const char* kBacklights = "/sys/class/backlight";

  /// The event loop on which messages arrive must outlive the registry's ports.
  explicit LinuxDeviceRegistry(sd_event* event, std::string powerSupplies = kPowerSupplies,
                               std::string backlights = kBacklights);

  std::shared_ptr<RegistryEntry> firstPowerSource() override;
  std::shared_ptr<RegistryEntry> firstServiceWith(const std::string& property) override;
  std::unique_ptr<RegistryNotificationPort> makeNotificationPort() override;

  /// The answer to the device-information key "gas-gauge-battery": the power source measures its
  /// current and its full charge. False without a power source.
  bool hasGasGauge();

 private:
  sd_event* event_;
  std::string powerSupplies_;
  std::string backlights_;
};

}  // namespace zorva

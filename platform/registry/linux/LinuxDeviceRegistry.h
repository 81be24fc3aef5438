// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <systemd/sd-event.h>

#include "platform/base/Observers.h"
#include "platform/kit/loop/DeviceEvents.h"
#include "platform/registry/DeviceRegistry.h"
#include "platform/registry/linux/LinuxPowerSource.h"

namespace zorva {

/// The kernel's power_supply and backlight classes: all batteries of the device as the one power
/// source, and the backlight of the best type.
class LinuxDeviceRegistry : public DeviceRegistry {
 public:
  static constexpr const char* kPowerSupplies = "/sys/class/power_supply";
  static constexpr const char* kBacklights = "/sys/class/backlight";

  /// The event loop on which messages arrive must outlive the registry's ports, and the bus, which
  /// may be none, the registry.
  explicit LinuxDeviceRegistry(sd_event* event, LinuxBus* bus = nullptr,
                               std::string powerSupplies = kPowerSupplies,
                               std::string backlights = kBacklights);

  std::shared_ptr<RegistryEntry> firstPowerSource() override;
  std::shared_ptr<RegistryEntry> firstServiceWith(const std::string& property) override;
  std::unique_ptr<RegistryNotificationPort> makeNotificationPort() override;
  Registration observeFirstPowerSource(std::function<void()> appeared) override;

  /// The answer to the device-information key "gas-gauge-battery": the power source measures its
  /// current and its full charge. False without a power source.
  bool hasGasGauge();

  /// Around a sleep: whoever watches the power source looks at it.
  void systemWillSleep() { powerSource_->systemWillSleep(); }
  void systemDidWake() { powerSource_->systemDidWake(); }

 private:
  sd_event* event_;
  std::string backlights_;
  std::shared_ptr<LinuxPowerSource> powerSource_;
  Observers<> appeared_;
  std::unique_ptr<DeviceEvents> supplyEvents_;  // while a first power source is waited for
};

}  // namespace zorva

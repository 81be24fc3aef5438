// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <systemd/sd-device.h>
#include <systemd/sd-event.h>

#include "platform/accessories/AccessoryManager.h"
#include "platform/base/Observers.h"
#include "platform/kit/loop/DeviceEvents.h"

namespace zorva {

/// Accessories are USB devices that can be unplugged (docs/linux-services.md): neither hubs nor
/// devices that the device tree or firmware declares fixed. A device is reported when the kernel
/// has configured it; a removed device is reported with its last texts.
class LinuxAccessoryManager : public AccessoryManager {
 public:
  /// The event loop must outlive this object, which must outlive its registrations.
  explicit LinuxAccessoryManager(sd_event* event) : event_(event) {}

  Registration observeConnected(std::function<void(const Accessory&)> event) override;
  Registration observeDisconnected(std::function<void(const Accessory&)> event) override;
  /// Empty if the device manager's events cannot be received.
  Registration registerForLocalNotifications() override;
  /// Sorted by connection identifier.
  std::vector<Accessory> connectedAccessories() override;

 private:
  bool listen();
  void deviceChanged(const DeviceEvent& event);
  void appeared(const std::string& directory, bool configured);
  void vanished(const std::string& directory);

  sd_event* event_;
  int registrations_ = 0;
  std::unique_ptr<DeviceEvents> events_;    ///< while a client is registered
  std::map<std::string, Accessory> known_;  ///< by directory, while monitoring
  Observers<const Accessory&> connected_;
  Observers<const Accessory&> disconnected_;
};

}  // namespace zorva

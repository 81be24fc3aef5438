// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <systemd/sd-device.h>
#include <systemd/sd-event.h>

#include "platform/accessories/AccessoryManager.h"
#include "platform/base/Observers.h"

namespace zorva {

/// Accessories are USB devices that can be unplugged (docs/linux-services.md): neither hubs nor
/// what the device tree or firmware says is fixed inside. One is reported when its driver has read
/// its configuration, and as it goes with the texts it had.
class LinuxAccessoryManager : public AccessoryManager {
 public:
  /// The event loop outlives this, and this the registrations.
  explicit LinuxAccessoryManager(sd_event* event) : event_(event) {}

  Registration observeConnected(std::function<void(const Accessory&)> event) override;
  Registration observeDisconnected(std::function<void(const Accessory&)> event) override;
  /// Nothing where the device manager cannot be listened to.
  Registration registerForLocalNotifications() override;
  /// In the order of their connection identifiers.
  std::vector<Accessory> connectedAccessories() override;

 private:
  struct MonitorRelease {
    void operator()(sd_device_monitor* monitor) const { sd_device_monitor_unref(monitor); }
  };
  using MonitorPointer = std::unique_ptr<sd_device_monitor, MonitorRelease>;

  bool listen();
  static int deviceChanged(sd_device_monitor*, sd_device* device, void* self);
  void appeared(const std::string& directory, bool configured);
  void vanished(const std::string& directory);

  sd_event* event_;
  int registrations_ = 0;
  MonitorPointer monitor_;                  ///< while a client is registered
  std::map<std::string, Accessory> known_;  ///< by their directories, while listening
  Observers<const Accessory&> connected_;
  Observers<const Accessory&> disconnected_;
};

}  // namespace zorva

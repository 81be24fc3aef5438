// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <systemd/sd-device.h>
#include <utility>

namespace zorva {

/// The device manager's events of chosen classes. No other event wakes the process.
class DeviceEvents {
 public:
  using Handler = std::function<void(const std::string& subsystem, sd_device* device)>;

  /// The handler may destroy this object.
  explicit DeviceEvents(Handler handler) : handler_(std::move(handler)) {}
  DeviceEvents(const DeviceEvents&) = delete;  // the monitor holds its address
  DeviceEvents& operator=(const DeviceEvents&) = delete;

  /// Lets the events arrive on the loop. False if there is no source for them.
  bool attach(sd_event* event);
  /// Chooses a class, or its devices of one type, before or after the events arrive. False if its
  /// events cannot be received.
  bool listen(const std::string& subsystem, const std::string& deviceType = "");

 private:
  struct MonitorRelease {
    void operator()(sd_device_monitor* monitor) const { sd_device_monitor_unref(monitor); }
  };

  bool add(const std::string& subsystem, const std::string& deviceType);
  bool start();
  static int onDevice(sd_device_monitor*, sd_device* device, void* self);

  Handler handler_;
  std::map<std::string, std::string> types_;  ///< by subsystem; empty: all
  std::unique_ptr<sd_device_monitor, MonitorRelease> monitor_;
  bool started_ = false;
};

}  // namespace zorva

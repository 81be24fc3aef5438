// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <systemd/sd-device.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// What an event says of its device. Valid while the event is handled.
struct DeviceEvent {
  std::string_view action;     ///< "add", "remove", "change", "bind", "unbind", ...
  std::string_view subsystem;  ///< the kernel's class or bus, such as "power_supply"
  std::string path;            ///< its directory in /sys
  /// The value of a variable such as "POWER_SUPPLY_STATUS"; null if the event has none.
  std::function<const char*(const char* variable)> value;

  /// The last part of the path, with "/" where the kernel has it in a device's name.
  std::string name() const;
};

/// The events of chosen classes. If a device manager runs, they are its own, which follow its work
/// on the device, and no other event wakes the process. Otherwise they are the kernel's, until a
/// device manager sends its first one; then events of other classes are read, too, and dropped.
class DeviceEvents {
 public:
  using Handler = std::function<void(const DeviceEvent& event)>;

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
  void listenToKernel(sd_event* event);
  void handle(const DeviceEvent& event);
  static int onDevice(sd_device_monitor*, sd_device* device, void* self);
  static int onKernel(sd_event_source*, int descriptor, std::uint32_t, void* self);

  Handler handler_;
  std::map<std::string, std::string> types_;  ///< by subsystem; empty: all
  std::unique_ptr<sd_device_monitor, MonitorRelease> monitor_;
  bool started_ = false;
  Descriptor kernel_;
  EventSource kernelSource_;
};

}  // namespace zorva

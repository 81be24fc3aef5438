// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/DeviceEvents.h"

namespace zorva {

bool DeviceEvents::attach(sd_event* event) {
  if (monitor_) return true;
  sd_device_monitor* made = nullptr;
  if (sd_device_monitor_new(&made) < 0) return false;
  monitor_.reset(made);
  bool attached = true;
  for (const auto& [subsystem, type] : types_) attached = attached && add(subsystem, type);
  attached =
      attached && sd_device_monitor_attach_event(made, event) >= 0 && (types_.empty() || start());
  if (!attached) monitor_.reset();
  return attached;
}

bool DeviceEvents::listen(const std::string& subsystem, const std::string& deviceType) {
  if (!types_.emplace(subsystem, deviceType).second || !monitor_) return true;
  return add(subsystem, deviceType) && start();
}

bool DeviceEvents::add(const std::string& subsystem, const std::string& deviceType) {
  return sd_device_monitor_filter_add_match_subsystem_devtype(
             monitor_.get(), subsystem.c_str(),
             deviceType.empty() ? nullptr : deviceType.c_str()) >= 0;
}

bool DeviceEvents::start() {
  if (started_) return sd_device_monitor_filter_update(monitor_.get()) >= 0;
  started_ = sd_device_monitor_start(monitor_.get(), onDevice, this) >= 0;
  return started_;
}

int DeviceEvents::onDevice(sd_device_monitor*, sd_device* device, void* self) {
  const char* subsystem = nullptr;
  if (sd_device_get_subsystem(device, &subsystem) < 0) return 0;
  const Handler handler = static_cast<DeviceEvents*>(self)->handler_;  // may destroy this object
  handler(subsystem, device);
  return 0;
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/DeviceEvents.h"

namespace zorva {

bool DeviceEvents::attach(sd_event* event) {
  if (monitor_) return true;
  sd_device_monitor* made = nullptr;
  if (sd_device_monitor_new(&made) < 0) return false;
  monitor_.reset(made);
  bool attached = true;
  for (const std::string& subsystem : subsystems_) attached = attached && add(subsystem);
  attached = attached && sd_device_monitor_attach_event(made, event) >= 0 &&
             (subsystems_.empty() || start());
  if (!attached) monitor_.reset();
  return attached;
}

bool DeviceEvents::listen(const std::string& subsystem) {
  if (!subsystems_.insert(subsystem).second || !monitor_) return true;
  return add(subsystem) && start();
}

bool DeviceEvents::add(const std::string& subsystem) {
  return sd_device_monitor_filter_add_match_subsystem_devtype(monitor_.get(), subsystem.c_str(),
                                                              nullptr) >= 0;
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

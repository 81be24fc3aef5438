// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxDeviceRegistry.h"

#include <utility>

#include "platform/registry/linux/LinuxBacklight.h"
#include "platform/registry/linux/LinuxNotificationPort.h"

namespace zorva {

LinuxDeviceRegistry::LinuxDeviceRegistry(sd_event* event, LinuxBus* bus, std::string powerSupplies,
                                         std::string backlights)
    : event_(event),
      backlights_(std::move(backlights)),
      powerSource_(std::make_shared<LinuxPowerSource>(event, std::move(powerSupplies), bus)) {}

std::shared_ptr<RegistryEntry> LinuxDeviceRegistry::firstPowerSource() {
  if (!powerSource_->exists()) return nullptr;
  return powerSource_;
}

std::shared_ptr<RegistryEntry> LinuxDeviceRegistry::firstServiceWith(const std::string& property) {
  const std::shared_ptr<RegistryEntry> services[] = {firstPowerSource(),
                                                     LinuxBacklight::find(backlights_)};
  for (const auto& service : services) {
    if (service && service->readProperty(property).boolean()) return service;
  }
  return nullptr;
}

std::unique_ptr<RegistryNotificationPort> LinuxDeviceRegistry::makeNotificationPort() {
  return std::make_unique<LinuxNotificationPort>(event_);
}

Registration LinuxDeviceRegistry::observeFirstPowerSource(std::function<void()> appeared) {
  if (!supplyEvents_) {
    supplyEvents_ = std::make_unique<DeviceEvents>([this](const DeviceEvent&) {
      if (!powerSource_->exists()) return;
      const auto ended = std::move(supplyEvents_);
      appeared_.notify();
    });
    supplyEvents_->listen(LinuxPowerSource::kClass);
    supplyEvents_->attach(event_);
  }
  return appeared_.add(std::move(appeared));
}

bool LinuxDeviceRegistry::hasGasGauge() {
  return powerSource_->hasGasGauge();
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/sim/SimDeviceRegistry.h"

#include <utility>

namespace zorva {

RegistryResult SimRegistryEntry::readProperties(Dictionary& properties) {
  if (const auto result = propertiesFault_.struckResult<RegistryResult>()) return *result;
  if (!present_) return kRegistryNoDevice;
  properties = properties_;
  return kRegistrySuccess;
}

Value SimRegistryEntry::readProperty(const std::string& key) {
  if (propertyFault_.strikes() || !present_) return {};
  return properties_[key];
}

void SimRegistryEntry::setProperty(const std::string& key, Value value) {
  if (value.isNothing()) {
    properties_.remove(key);
  } else {
    properties_.set(key, std::move(value));
  }
}

void SimRegistryEntry::setPresent(bool present) {
  if (!std::exchange(present_, present) && present) putIn_.notify();
}

void SimRegistryEntry::send(std::uint32_t messageType, const Value& argument) {
  interested_.notify(messageType, argument);
}

class SimRegistryNotificationPort : public RegistryNotificationPort {
 public:
  SimRegistryNotificationPort(SimFaultPoint& addToRunLoopFault, SimFaultPoint& addInterestFault)
      : addToRunLoopFault_(addToRunLoopFault), addInterestFault_(addInterestFault) {}

  bool addToRunLoop() override {
    if (addToRunLoopFault_.strikes()) return false;
    state_->onRunLoop = true;
    return true;
  }

  RegistryResult addInterest(const std::shared_ptr<RegistryEntry>& entry, Handler handler,
                             Registration& interest) override {
    const auto failed = addInterestFault_.struckResult<RegistryResult>();
    const auto device = std::dynamic_pointer_cast<SimRegistryEntry>(entry);
    if (!device) return kRegistryBadArgument;
    if (failed) return *failed;
    // Weak: the port's end is the end of every interest, and an entry must not keep itself alive.
    interest = device->interested_.add(
        [port = std::weak_ptr(state_), from = std::weak_ptr(device), handler = std::move(handler)](
            std::uint32_t messageType, const Value& argument) {
          const auto state = port.lock();
          if (state && state->onRunLoop) handler(from.lock(), messageType, argument);
        });
    return kRegistrySuccess;
  }

 private:
  struct State {
    bool onRunLoop = false;
  };
  SimFaultPoint& addToRunLoopFault_;
  SimFaultPoint& addInterestFault_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

SimDeviceRegistry::SimDeviceRegistry(SimParts& parts)
    : firstPowerSourceFault_(parts.faults, "registry.firstPowerSource"),
      firstServiceWithFault_(parts.faults, "registry.firstServiceWith"),
      addToRunLoopFault_(parts.faults, "registry.addToRunLoop"),
      addInterestFault_(parts.faults, "registry.addInterest", kRegistryNoDevice),
      powerSource_(std::make_shared<SimRegistryEntry>(parts.faults, "battery")),
      backlight_(std::make_shared<SimRegistryEntry>(parts.faults, "backlight")) {}

std::shared_ptr<RegistryEntry> SimDeviceRegistry::firstPowerSource() {
  if (firstPowerSourceFault_.strikes() || !powerSource_->present()) return nullptr;
  return powerSource_;
}

std::shared_ptr<RegistryEntry> SimDeviceRegistry::firstServiceWith(const std::string& property) {
  if (firstServiceWithFault_.strikes()) return nullptr;
  for (const auto& service : {powerSource_, backlight_}) {
    if (service->present() && service->properties()[property].boolean()) return service;
  }
  return nullptr;
}

std::unique_ptr<RegistryNotificationPort> SimDeviceRegistry::makeNotificationPort() {
  return std::make_unique<SimRegistryNotificationPort>(addToRunLoopFault_, addInterestFault_);
}

Registration SimDeviceRegistry::observeFirstPowerSource(std::function<void()> appeared) {
  return powerSource_->observePutIn(std::move(appeared));
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/base/Observers.h"
#include "platform/registry/DeviceRegistry.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// One device of the handset: its properties, and the messages that it sends.
class SimRegistryEntry : public RegistryEntry,
                         public std::enable_shared_from_this<SimRegistryEntry> {
 public:
  /// The fault points are "SERVICE.properties" and "SERVICE.property".
  SimRegistryEntry(SimFaults& faults, const std::string& service)
      : propertiesFault_(faults, service + ".properties", kRegistryNoDevice),
        propertyFault_(faults, service + ".property") {}

  RegistryResult readProperties(Dictionary& properties) override;
  Value readProperty(const std::string& key) override;

  /// Nothing removes the property. No observer is notified.
  void setProperty(const std::string& key, Value value);
  /// What the device publishes, also while it is taken out.
  const Dictionary& properties() const { return properties_; }

  /// Whether the device is there. Without it, its properties are missing and the registry does not
  /// find it.
  bool present() const { return present_; }
  void setPresent(bool present);
  /// Calls back when the device is put in.
  Registration observePutIn(std::function<void()> putIn) { return putIn_.add(std::move(putIn)); }

  /// Sends a message of any type to everyone who is interested in this entry.
  void send(std::uint32_t messageType, const Value& argument = {});

 private:
  friend class SimRegistryNotificationPort;
  SimFaultPoint propertiesFault_;
  SimFaultPoint propertyFault_;
  Dictionary properties_;
  bool present_ = true;
  Observers<> putIn_;
  Observers<std::uint32_t, const Value&> interested_;
};

class SimDeviceRegistry : public DeviceRegistry {
 public:
  explicit SimDeviceRegistry(SimParts& parts);

  std::shared_ptr<RegistryEntry> firstPowerSource() override;
  std::shared_ptr<RegistryEntry> firstServiceWith(const std::string& property) override;
  std::unique_ptr<RegistryNotificationPort> makeNotificationPort() override;
  Registration observeFirstPowerSource(std::function<void()> appeared) override;

  SimRegistryEntry& powerSource() { return *powerSource_; }
  SimRegistryEntry& backlight() { return *backlight_; }

 private:
  // The ports may outlive the registry, but never the handset with its faults.
  SimFaultPoint firstPowerSourceFault_;
  SimFaultPoint firstServiceWithFault_;
  SimFaultPoint addToRunLoopFault_;
  SimFaultPoint addInterestFault_;
  std::shared_ptr<SimRegistryEntry> powerSource_;
  std::shared_ptr<SimRegistryEntry> backlight_;
};

}  // namespace zorva

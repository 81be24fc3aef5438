// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/base/Registration.h"
#include "platform/base/Value.h"

namespace zorva {

/// Result code of a registry call; 0 is success.
using RegistryResult = std::uint32_t;

inline constexpr RegistryResult kRegistrySuccess = 0;
inline constexpr RegistryResult kRegistryBadArgument = 0xE00002C2;
inline constexpr RegistryResult kRegistryNoDevice = 0xE00002C0;

/// Messages of registry entries.
inline constexpr std::uint32_t kBatteryStatusChanged = 0xE0024100;
inline constexpr std::uint32_t kPropertyChanged = 0xE0000130;

/// One device. Handles stay good when the device goes away: its properties are then missing.
class RegistryEntry {
 public:
  virtual ~RegistryEntry() = default;

  /// Reads all properties in one call. Leaves the dictionary alone on failure.
  virtual RegistryResult readProperties(Dictionary& properties) = 0;
  /// Reads one property now, or nothing.
  virtual Value readProperty(const std::string& key) = 0;
};

/// Receives the messages of the entries that its owner is interested in. Destroying it ends every
/// interest.
class RegistryNotificationPort {
 public:
  virtual ~RegistryNotificationPort() = default;

  /// Lets the messages arrive on the run loop; before that none comes. False when there is no
  /// source for it.
  virtual bool addToRunLoop() = 0;

  /// `argument` is what the message carries: nothing for a battery's status, the new value for a
  /// property.
  using Handler = std::function<void(const std::shared_ptr<RegistryEntry>& entry,
                                     std::uint32_t messageType, const Value& argument)>;

  /// Calls back for every general-interest message of the entry. An absent entry is answered with
  /// kRegistryBadArgument. On success the interest lasts until the registration is dropped.
  virtual RegistryResult addInterest(const std::shared_ptr<RegistryEntry>& entry, Handler handler,
                                     Registration& interest) = 0;
};

/// The devices of the handset and what they publish about themselves.
///
/// The power source's properties, with their units:
///
/// | key | kind |
/// |---|---|
/// | "CurrentCapacity", "MaxCapacity", "DesignCapacity" | number, mAh |
/// | "VennorRawCurrentCapacity", "VennorRawMaxCapacity" | integer, raw gauge units |
/// | "InstantAmperage", "Amperage" | integer, mA, negative while discharging |
/// | "Voltage", "VennorRawBatteryVoltage" | integer, mV |
/// | "Temperature" | integer, hundredths of a degree Celsius |
/// | "CycleCount" | integer |
/// | "IsCharging", "FullyCharged", "AtCriticalLevel" | boolean |
/// | "ChargeStatus" | text, absent while nothing hinders charging |
///
/// The display's backlight has the property "backlight-control" (true) and "IODisplayParameters", a
/// dictionary with the dictionary "brightness", whose integers "min", "max" and "value" are in the
/// backlight's own units. It sends kPropertyChanged with the new brightness.
class DeviceRegistry {
 public:
  virtual ~DeviceRegistry() = default;

  /// The first service of the power-source class, or none. Where the device has several batteries
  /// it stands for all of them.
  virtual std::shared_ptr<RegistryEntry> firstPowerSource() = 0;

  /// The first service whose property of the key is true, or none.
  virtual std::shared_ptr<RegistryEntry> firstServiceWith(const std::string& property) = 0;

  virtual std::unique_ptr<RegistryNotificationPort> makeNotificationPort() = 0;

  /// Calls back from the run loop when a device that had no power source has got one, such as a
  /// gauge whose driver started late. Never calls back for one that is there already.
  virtual Registration observeFirstPowerSource(std::function<void()> appeared) = 0;
};

}  // namespace zorva

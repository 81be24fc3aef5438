// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Registration.h"

namespace zorva {

/// An external accessory, as described by itself; texts may be empty or absent.
struct Accessory {
  bool connected = false;
  std::uint32_t connectionIdentifier = 0;
  std::optional<std::string> manufacturer;
  std::optional<std::string> name;
  std::optional<std::string> modelNumber;
  std::optional<std::string> serialNumber;
  std::optional<std::string> firmwareRevision;
  std::optional<std::string> hardwareRevision;
  std::vector<std::string> protocols;
};

/// The accessory manager.
class AccessoryManager {
 public:
  virtual ~AccessoryManager() = default;

  /// Calls back, on the run loop, when an accessory has been connected or disconnected. An empty
  /// registration means that this cannot be observed.
  virtual Registration observeConnected(std::function<void(const Accessory&)> event) = 0;
  virtual Registration observeDisconnected(std::function<void(const Accessory&)> event) = 0;
  /// The manager reports events only while a client is registered. Empty if it cannot be reached.
  virtual Registration registerForLocalNotifications() = 0;
  virtual std::vector<Accessory> connectedAccessories() = 0;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Registration.h"

namespace zorva {

/// A network that a device is associated with.
struct WiFiNetwork {
  std::optional<std::string> ssid;  ///< any bytes, at most 32
};

/// A client's view of one Wi-Fi device. It stays valid after the device is removed: it is then off
/// and not associated.
class WiFiDevice {
 public:
  virtual ~WiFiDevice() = default;

  virtual bool powered() = 0;
  /// Nothing if it is not associated.
  virtual std::optional<WiFiNetwork> copyCurrentNetwork() = 0;

  /// Calls back, on the run loop, when the power or the link has changed. If one event changes
  /// both, only observers of the power are called.
  virtual Registration observePower(std::function<void()> changed) = 0;
  virtual Registration observeLink(std::function<void()> changed) = 0;
};

/// A client of the Wi-Fi manager.
class WiFiManagerClient {
 public:
  virtual ~WiFiManagerClient() = default;

  /// Delivers callbacks on the run loop until the registration is destroyed.
  virtual Registration schedule() = 0;
  /// Calls back when a device is attached.
  virtual Registration observeAttachment(
      std::function<void(const std::shared_ptr<WiFiDevice>&)> attached) = 0;
  /// In the manager's order, or nothing. The same device is the same object every time.
  virtual std::optional<std::vector<std::shared_ptr<WiFiDevice>>> copyDevices() = 0;

  /// Whether wake on wireless is supported, and whether it is on.
  virtual bool wowCapability() = 0;
  virtual bool wowState() = 0;
};

class WiFiManager {
 public:
  virtual ~WiFiManager() = default;
  /// Null if the manager cannot be reached.
  virtual std::shared_ptr<WiFiManagerClient> createClient() = 0;
};

}  // namespace zorva

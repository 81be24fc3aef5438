// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/storage/PreferencesStore.h"
#include "platform/wifi/WiFiDriver.h"
#include "platform/wifi/WiFiManager.h"

namespace zorva {

/// Logs the state of the Wi-Fi interface at each snapshot, whenever its power or link changes or a
/// device is attached, and at each battery-level notification:
///
///     11/16/26 14:07:16 [WiFi] status=on; ap=Home; wow=off; pm_dur=1200; mpc_dur=300;
///
/// The two counters are the driver's own. They are read only while the preference
/// "ZVShouldQueryWiFiPowerUsage" is set and the radio is on, and cleared each time, so that they
/// cover the time since the previous entry; a negative value is an error.
class ZVWiFiLogger : public ZVLogger {
 public:
  /// Creates the logger; returns null if the Wi-Fi manager cannot be reached.
  static std::unique_ptr<ZVWiFiLogger> logger(const Services& services, WiFiManager& manager,
                                              WiFiDriver& driver, PreferencesStore& preferences);
  ~ZVWiFiLogger() override;

  void log() override;

  const std::shared_ptr<WiFiManagerClient>& wifiManager() const { return wifiManager_; }
  void setWifiManager(std::shared_ptr<WiFiManagerClient> wifiManager);
  const std::shared_ptr<WiFiDevice>& wifiDevice() const { return wifiDevice_; }
  void setWifiDevice(std::shared_ptr<WiFiDevice> wifiDevice);

  /// Follows the first of the manager's devices; if there is none, the previous one is kept.
  void findWiFiDevice();

  bool hasWiFi() const { return wifiManager_ && wifiDevice_; }
  bool isWiFiPowered() const { return hasWiFi() && wifiDevice_->powered(); }
  bool wowSupported() const { return hasWiFi() && wifiManager_->wowCapability(); }
  bool wowEnabled() const { return wowSupported() && wifiManager_->wowState(); }
  /// As the network reports it, any bytes.
  std::string ssidName() const;

  /// Reads the counter of that name, 0 to 4294967295, or clears it; a result of clearing that is
  /// not negative has no meaning. Negative for errors: -errno of the request, -(10000 + errno) if
  /// no socket could be opened.
  std::int64_t sendWiFiPowerCommandReset(const std::string& counter, bool reset);

 private:
  ZVWiFiLogger(const Services& services, WiFiDriver& driver, PreferencesStore& preferences)
      : ZVLogger(services), driver_(driver), preferences_(preferences) {}

  WiFiDriver& driver_;
  PreferencesStore& preferences_;
  std::shared_ptr<WiFiManagerClient> wifiManager_;
  std::shared_ptr<WiFiDevice> wifiDevice_;
  Registration scheduled_;
  Registration attachment_;
  Registration power_;
  Registration link_;
  bool observesBatteryLevel_ = false;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVWiFiLogger.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/Preferences.h"
#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVWiFiLogger> ZVWiFiLogger::logger(const Services& services, WiFiManager& manager,
                                                   WiFiDriver& driver,
                                                   PreferencesStore& preferences) {
  std::unique_ptr<ZVWiFiLogger> made(new ZVWiFiLogger(services, driver, preferences));
  auto client = manager.createClient();
  if (!client) {
    made->logError("Failed to create a WiFiManagerClientRef");
    return nullptr;
  }
  made->setWifiManager(std::move(client));
  return made;
}

ZVWiFiLogger::~ZVWiFiLogger() {
  setWifiDevice(nullptr);
  setWifiManager(nullptr);
}

void ZVWiFiLogger::setWifiManager(std::shared_ptr<WiFiManagerClient> wifiManager) {
  if (wifiManager == wifiManager_) return;
  attachment_.reset();
  scheduled_.reset();
  wifiManager_ = std::move(wifiManager);
  if (!wifiManager_) return;
  scheduled_ = wifiManager_->schedule();
  attachment_ = wifiManager_->observeAttachment([this](const std::shared_ptr<WiFiDevice>&) {
    findWiFiDevice();
    log();
  });
  findWiFiDevice();
}

void ZVWiFiLogger::setWifiDevice(std::shared_ptr<WiFiDevice> wifiDevice) {
  if (wifiDevice == wifiDevice_) return;
  power_.reset();
  link_.reset();
  wifiDevice_ = std::move(wifiDevice);
  if (!wifiDevice_) return;
  power_ = wifiDevice_->observePower([this] { log(); });
  link_ = wifiDevice_->observeLink([this] { log(); });
  // Subscribe only once, even if the device is replaced: each notification must give one entry.
  if (!std::exchange(observesBatteryLevel_, true)) logOnBatteryLevel();
}

void ZVWiFiLogger::findWiFiDevice() {
  if (!wifiManager_) return;
  const auto devices = wifiManager_->copyDevices();
  if (devices && !devices->empty()) setWifiDevice(devices->front());
}

std::string ZVWiFiLogger::ssidName() const {
  if (!hasWiFi()) return "<unknown>";
  const auto network = wifiDevice_->copyCurrentNetwork();
  if (!network) return "<disassociated>";
  return network->ssid.value_or("<unknown>");
}

void ZVWiFiLogger::log() {
  const bool powered = isWiFiPowered();
  std::string body = formatText(" status=%s;", hasWiFi() ? onOrOff(powered) : "no wifi");
  body += formatText(" ap=%s;", safeText(ssidName()).c_str());
  body += formatText(" wow=%s;", onOrOff(wowEnabled()));
  if (powered && CopyPreferenceValue(preferences_, kShouldQueryWiFiPowerUsage).boolean()) {
    const long long pmDuration = sendWiFiPowerCommandReset("pm_dur", false);
    body += formatText(" pm_dur=%lld;", pmDuration);
    const long long mpcDuration = sendWiFiPowerCommandReset("mpc_dur", false);
    body += formatText(" mpc_dur=%lld;", mpcDuration);
    sendWiFiPowerCommandReset("pm_dur", true);
    sendWiFiPowerCommandReset("mpc_dur", true);
  } else {
    body += formatText(" pm_dur=%s;", "<unavailable>");
    body += formatText(" mpc_dur=%s;", "<unavailable>");
  }
  logEntryWithBody("WiFi", body);
}

std::int64_t ZVWiFiLogger::sendWiFiPowerCommandReset(const std::string& counter, bool reset) {
  int socket = -1;
  if (const int error = driver_.openSocket(socket)) return -(10000 + std::int64_t{error});

  WiFiDriver::Buffer buffer{};
  std::copy_n(counter.begin(), std::min(counter.size(), buffer.size() - 1), buffer.begin());
  WiFiDriverRequest request;
  constexpr std::string_view kInterface = "en0";
  std::copy(kInterface.begin(), kInterface.end(), request.interface.begin());
  request.type = -1;
  request.value = reset ? 263 : 262;
  request.length = static_cast<std::uint32_t>(buffer.size());
  const auto code = reset ? WiFiDriver::kReset : WiFiDriver::kQuery;
  const int error = driver_.request(socket, code, request, buffer);
  driver_.closeSocket(socket);
  if (error != 0) return -std::int64_t{error};
  return std::int64_t{buffer[0]} | std::int64_t{buffer[1]} << 8 | std::int64_t{buffer[2]} << 16 |
         std::int64_t{buffer[3]} << 24;
}

}  // namespace zorva

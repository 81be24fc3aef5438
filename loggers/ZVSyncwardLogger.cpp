// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVSyncwardLogger.h"

#include "platform/base/Text.h"

namespace zorva {
namespace {

struct KeyName {
  const char* key;
  const char* name;
};
constexpr KeyName kKeyNames[] = {
    {accountsync::kAccountType, "type"},
    {accountsync::kDisplayName, "name"},
    {accountsync::kUniqueIdentifier, "udid"},
    {accountsync::kTimeSpan, "time_span"},
    {accountsync::kNetworkingTime, "networking_time"},
    {accountsync::kHeartbeatInterval, "hbi"},
    {accountsync::kSuccessfulRequests, "successful_requests"},
    {accountsync::kNetworkFailures, "network_failures"},
    {accountsync::kProtocolFailures, "protocol_failures"},
    {accountsync::kDownloadedElements, "downloaded_elements"},
};

void logPing(ZVLogger& observer, std::string_view name) {
  auto& logger = static_cast<ZVSyncwardLogger&>(observer);
  if (name == accountsync::kPingReceivedTraffic) {
    logger.logDataReceived();
  } else if (name == accountsync::kPingGoingOut) {
    logger.logPingSent();
  }
}

}  // namespace

std::unique_ptr<ZVSyncwardLogger> ZVSyncwardLogger::logger(const Services& services,
                                                           AccountSync& sync) {
  return std::unique_ptr<ZVSyncwardLogger>(new ZVSyncwardLogger(services, sync));
}

ZVSyncwardLogger::ZVSyncwardLogger(const Services& services, AccountSync& sync)
    : ZVLogger(services), sync_(sync) {
  logOnBatteryLevel();
  registerCallbackForOstrelNotification(logPing, accountsync::kPingReceivedTraffic);
  registerCallbackForOstrelNotification(logPing, accountsync::kPingGoingOut);
}

void ZVSyncwardLogger::log() {
  for (const Dictionary& report : sync_.statusReports()) {
    std::string body;
    for (const auto& [key, value] : report) {
      const std::string name = safeText(humanReadableSWKey(key));
      if (value.isInteger() || value.isReal() || value.isBoolean()) {
        // Convert an integer directly from its 64 bits: through a double it would be rounded twice.
        const float number = value.isInteger() ? static_cast<float>(value.integer())
                                               : static_cast<float>(value.real());
        body += formatText(" %s=%.2f;", name.c_str(), static_cast<double>(number));
      } else {
        body += formatText(" %s=%s;", name.c_str(), safeText(value.description()).c_str());
      }
    }
    logEntryWithBody("Syncward", body);
  }
}

void ZVSyncwardLogger::logDataReceived() {
  logEntryWithBody("Syncward Event", " type=inbound_data;");
}

void ZVSyncwardLogger::logPingSent() {
  logEntryWithBody("Syncward Event", " type=ping;");
}

std::string ZVSyncwardLogger::humanReadableSWKey(const std::string& key) {
  for (const KeyName& each : kKeyNames) {
    if (key == each.key) return each.name;
  }
  return key;
}

}  // namespace zorva

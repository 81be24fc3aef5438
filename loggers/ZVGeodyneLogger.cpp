// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVGeodyneLogger.h"

#include <algorithm>
#include <limits>

#include "platform/base/Text.h"

namespace zorva {
namespace {

void logChange(ZVLogger& observer, std::string_view name) {
  auto& logger = static_cast<ZVGeodyneLogger&>(observer);
  if (name == kLocationClientStatusChanged) {
    logger.logClients();
  } else if (name == kLocationTechnologyStatusChanged) {
    logger.logTechnologies();
  }
}

// A value that is not a number never compares as greater or less.
double timeOf(const Value& value) {
  const bool comparable =
      value.isNothing() || value.isInteger() || value.isReal() || value.isBoolean();
  return comparable ? value.real() : std::numeric_limits<double>::quiet_NaN();
}

std::string identifierOf(const Dictionary& client) {
  const auto text = [&](const char* key) { return safeText(client[key].description()); };
  if (!client["BundleId"].isNothing()) {
    const bool hasRole = !client["RoleId"].isNothing();
    return text("BundleId") + (hasRole ? "-" + text("RoleId") : "");
  }
  return client["Executable"].isNothing() ? "<unknown>" : text("Executable");
}

}  // namespace

std::unique_ptr<ZVGeodyneLogger> ZVGeodyneLogger::logger(const Services& services,
                                                         LocationService& location) {
  return std::unique_ptr<ZVGeodyneLogger>(new ZVGeodyneLogger(services, location));
}

ZVGeodyneLogger::ZVGeodyneLogger(const Services& services, LocationService& location)
    : ZVLogger(services), location_(location) {
  registerCallbackForOstrelNotification(logChange, kLocationClientStatusChanged);
  registerCallbackForOstrelNotification(logChange, kLocationTechnologyStatusChanged);
}

void ZVGeodyneLogger::log() {
  logTechnologies();
  logClients();
}

void ZVGeodyneLogger::logTechnologies() {
  std::vector<std::int64_t> inUse = location_.copyTechnologiesInUse();
  if (lastTechnologiesInUse_ == inUse) return;
  lastTechnologiesInUse_ = std::move(inUse);
  std::string body;
  for (const std::int64_t code : technologyCodes_) {
    const bool on = std::find(lastTechnologiesInUse_->begin(), lastTechnologiesInUse_->end(),
                              code) != lastTechnologiesInUse_->end();
    body += formatText(" %s=%s;", humanReadableNameForTechnology(code), onOrOff(on));
  }
  logEntryWithBody("Geodyne", body);
}

void ZVGeodyneLogger::logClients() {
  for (const auto& [key, client] : location_.copyClients()) {
    std::string body = formatText(" id=%s;", identifierOf(client).c_str());
    body += formatText(" accuracy=%.1f;", client["LocationDesiredAccuracy"].real());
    body += formatText(" filter=%.1f;", client["LocationDistanceFilter"].real());
    body += formatText(" location=%s;", humanReadableNameForLocationActiveInDetails(client));
    body += formatText(" monitoring=%s;", humanReadableNameForFencingActiveInDetails(client));
    logEntryWithBody("Geodyne Client", body);
  }
}

const char* ZVGeodyneLogger::humanReadableNameForTechnology(std::int64_t technology) {
  switch (technology) {
    case 1:
      return "gps";
    case 2:
      return "nmea";
    case 3:
      return "accessory";
    case 4:
      return "wifi";
    case 5:
      return "skyhook";
    case 6:
      return "cell";
    case 7:
      return "lac";
    case 8:
      return "mcc";
    case 9:
      return "gps_coarse";
    default:
      return "unknown";
  }
}

const char* ZVGeodyneLogger::humanReadableNameForActivityStartKeyStopKeyInDetails(
    const char* startKey, const char* stopKey, const Dictionary& details) {
  return timeOf(details[stopKey]) < timeOf(details[startKey]) ? "active" : "inactive";
}

const char* ZVGeodyneLogger::humanReadableNameForLocationActiveInDetails(
    const Dictionary& details) {
  return humanReadableNameForActivityStartKeyStopKeyInDetails("LocationTimeStarted",
                                                              "LocationTimeStopped", details);
}

const char* ZVGeodyneLogger::humanReadableNameForFencingActiveInDetails(const Dictionary& details) {
  return humanReadableNameForActivityStartKeyStopKeyInDetails("FenceTimeStarted",
                                                              "FenceTimeStopped", details);
}

}  // namespace zorva

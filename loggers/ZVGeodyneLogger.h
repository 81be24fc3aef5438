// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ZVLogger.h"
#include "platform/location/LocationService.h"

namespace zorva {

/// Logs the positioning technologies in use, when they have changed, and the location service's
/// clients, at each snapshot and when the service announces a change:
///
///     11/16/26 14:07:16 [Geodyne] gps=on; nmea=off; accessory=off; wifi=on; skyhook=off; cell=on;
///     lac=off; mcc=off; gps_coarse=off;
///     11/16/26 14:07:16 [Geodyne Client] id=com.example.maps; accuracy=10.0; filter=0.0;
///     location=active; monitoring=inactive;
///
/// Codes without a name are not written, but they count as a change, as does a different order of
/// the codes.
class ZVGeodyneLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVGeodyneLogger> logger(const Services& services,
                                                 LocationService& location);

  /// The technologies, then the clients.
  void log() override;
  void logTechnologies();
  void logClients();

  /// Empty before the first entry.
  const std::optional<std::vector<std::int64_t>>& lastTechnologiesInUse() const {
    return lastTechnologiesInUse_;
  }
  void setLastTechnologiesInUse(std::optional<std::vector<std::int64_t>> technologies) {
    lastTechnologiesInUse_ = std::move(technologies);
  }

  static const char* humanReadableNameForTechnology(std::int64_t technology);
  /// "active" if the last start is later than the last stop, otherwise "inactive"; a missing time
  /// is 0.
  static const char* humanReadableNameForActivityStartKeyStopKeyInDetails(
      const char* startKey, const char* stopKey, const Dictionary& details);
  static const char* humanReadableNameForLocationActiveInDetails(const Dictionary& details);
  static const char* humanReadableNameForFencingActiveInDetails(const Dictionary& details);

 private:
  ZVGeodyneLogger(const Services& services, LocationService& location);

  LocationService& location_;
  std::vector<std::int64_t> technologyCodes_{1, 2, 3, 4, 5, 6, 7, 8, 9};
  std::optional<std::vector<std::int64_t>> lastTechnologiesInUse_;
};

}  // namespace zorva

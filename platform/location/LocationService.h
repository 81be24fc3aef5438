// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Value.h"

namespace zorva {

/// The location service. It posts kLocationClientStatusChanged and kLocationTechnologyStatusChanged
/// as system notifications.
class LocationService {
 public:
  virtual ~LocationService() = default;

  /// Codes of the technologies in use: 1 GPS, 2 NMEA, 3 accessory, 4 Wi-Fi, 5 Skyhook, 6 cell, 7
  /// location area, 8 country, 9 coarse GPS.
  virtual std::vector<std::int64_t> copyTechnologiesInUse() = 0;

  /// The clients by key. A record has any of "BundleId", "RoleId", "Executable" (texts),
  /// "LocationDesiredAccuracy", "LocationDistanceFilter" (numbers, metres), "LocationTimeStarted",
  /// "LocationTimeStopped", "FenceTimeStarted" and "FenceTimeStopped" (numbers, seconds).
  virtual std::vector<std::pair<std::string, Dictionary>> copyClients() = 0;
};

inline constexpr const char* kLocationClientStatusChanged = "com.vennor.geodyne.client-status";
inline constexpr const char* kLocationTechnologyStatusChanged =
    "com.vennor.geodyne.technology-status";

}  // namespace zorva

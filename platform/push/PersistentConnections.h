// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Date.h"
#include "platform/base/Value.h"

namespace zorva {

/// The persistent-connection service. Its settings are those of the effective user that reads them.
/// It posts kIntervalCacheChanged and kPersistentConnectionPreferencesChanged as system
/// notifications.
class PersistentConnections {
 public:
  virtual ~PersistentConnections() = default;

  static constexpr std::int32_t kManualPolling = -1;

  virtual bool pushEnabled(std::int32_t settingsClass) = 0;
  /// In the service's unit; kManualPolling if there is no polling.
  virtual std::int32_t pollInterval(std::int32_t settingsClass) = 0;

  struct IntervalCache {
    std::optional<Date> written;
    Value keepAliveInterval;
  };
  /// By connection identifier, in the service's order.
  virtual std::vector<std::pair<std::string, IntervalCache>> intervalCaches() = 0;
};

inline constexpr const char* kIntervalCacheChanged = "com.vennor.keepline.interval-cache-changed";
inline constexpr const char* kPersistentConnectionPreferencesChanged =
    "com.vennor.keepline.preferences-changed";

}  // namespace zorva

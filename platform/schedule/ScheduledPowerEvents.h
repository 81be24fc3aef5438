// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "platform/base/Value.h"

namespace zorva {

/// The scheduled power events: wakes, power-ons, sleeps, shutdowns and restarts.
class ScheduledPowerEvents {
 public:
  virtual ~ScheduledPowerEvents() = default;

  /// One record per event, the earliest first, or nothing if there is no list. The keys: "time"
  /// (date), "eventtype" (text: "wake", "wakepoweron", "poweron", "sleep", "shutdown", "restart" or
  /// another word) and "scheduledby" (text: what scheduled it).
  virtual std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() = 0;
};

}  // namespace zorva

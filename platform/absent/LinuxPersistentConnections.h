// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/push/PersistentConnections.h"

namespace zorva {

/// There is no such service on Linux, so push is disabled, polling is manual, and no interval is
/// known. Notifications posted in its name are delivered like any system notification.
class LinuxPersistentConnections : public PersistentConnections {
 public:
  bool pushEnabled(std::int32_t) override { return false; }
  std::int32_t pollInterval(std::int32_t) override { return kManualPolling; }
  std::vector<std::pair<std::string, IntervalCache>> intervalCaches() override { return {}; }
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/push/PersistentConnections.h"

namespace zorva {

/// There is no such service on Linux, so nothing is pushed, nothing polls but who wants to, and no
/// interval is known. What is posted in its name is heard all the same, as any system notification.
class LinuxPersistentConnections : public PersistentConnections {
 public:
  bool pushEnabled(std::int32_t) override { return false; }
  std::int32_t pollInterval(std::int32_t) override { return kManualPolling; }
  std::vector<std::pair<std::string, IntervalCache>> intervalCaches() override { return {}; }
};

}  // namespace zorva

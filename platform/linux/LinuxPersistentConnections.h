#pragma once

#include "platform/PersistentConnections.h"

namespace zorva {

class LinuxPersistentConnections : public PersistentConnections {
 public:
  bool pushEnabled(std::int32_t) override { return false; }
  std::int32_t pollInterval(std::int32_t) override { return kManualPolling; }
  std::vector<std::pair<std::string, IntervalCache>> intervalCaches() override { return {}; }
};

}  // namespace zorva

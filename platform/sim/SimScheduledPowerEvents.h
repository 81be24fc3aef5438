#pragma once

#include "platform/ScheduledPowerEvents.h"

namespace zorva {

class SimScheduledPowerEvents : public ScheduledPowerEvents {
 public:
  std::optional<std::vector<Dictionary>> copyScheduledPowerEvents() override {
    return std::nullopt;
  }
};

}  // namespace zorva

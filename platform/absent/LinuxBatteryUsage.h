// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/system/BatteryUsage.h"

namespace zorva {

/// Linux does not record use and standby since the last full charge: the service never replies.
class LinuxBatteryUsage : public BatteryUsage {
 public:
  std::optional<Times> times() override { return std::nullopt; }
};

}  // namespace zorva

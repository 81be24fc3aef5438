// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/system/BatteryUsage.h"

namespace zorva {

/// Linux keeps no account of use and standby since the last full charge: the service never answers.
class LinuxBatteryUsage : public BatteryUsage {
 public:
  std::optional<Times> times() override { return std::nullopt; }
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/scenario/SimParts.h"
#include "platform/system/BatteryUsage.h"

namespace zorva {

class SimBatteryUsage : public BatteryUsage {
 public:
  explicit SimBatteryUsage(SimParts& parts);

  std::optional<Times> times() override {
    if (timesFault_.strikes()) return std::nullopt;
    return times_;
  }

  /// Empty: the service does not reply.
  void setTimes(std::optional<Times> times) { times_ = times; }

 private:
  SimFaultPoint timesFault_;
  std::optional<Times> times_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/ZVLogger.h"
#include "platform/thermal/Thermal.h"

namespace zorva {

/// Logs how much the device is throttled because of its temperature, and the sensor readings in
/// degrees Celsius, at each snapshot and whenever the thermal level changes:
///
///     11/16/26 14:07:16 [Thermal] level=0; s0.0=27.00; s0.1=30.00;
///
/// A sensor's key is the index of its source and its position in that source's state; implausible
/// temperatures are omitted.
class ZVThermalLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVThermalLogger> logger(const Services& services, Thermal& thermal);

  void log() override;

 private:
  ZVThermalLogger(const Services& services, Thermal& thermal);

  Thermal& thermal_;
};

}  // namespace zorva

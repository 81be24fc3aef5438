// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace zorva {

/// The thermal facility. Once the level was asked for, every change of it posts the system
/// notification kThermalLevelChanged. What the sensors measure are the states of other system
/// notifications.
class Thermal {
 public:
  virtual ~Thermal() = default;

  /// How much the device holds itself back because of its heat; 0 is not at all.
  virtual std::int32_t level() = 0;
};

inline constexpr const char* kThermalLevelChanged = "com.vennor.system.thermalLevelChanged";

/// The system notifications whose states are the sensors' readings. Each state packs four, the
/// first in the lowest 16 bits, in hundredths of a degree Celsius; 0 is a sensor that is not there.
inline constexpr std::array<const char*, 6> kThermalSensorValues{
    "com.vennor.system.thermalSensorValues",  "com.vennor.system.thermalSensorValues2",
    "com.vennor.system.thermalSensorValues3", "com.vennor.system.thermalSensorValues4",
    "com.vennor.system.thermalSensorValues5", "com.vennor.system.thermalSensorValues6"};
inline constexpr int kThermalReadingsPerState = 4;

}  // namespace zorva

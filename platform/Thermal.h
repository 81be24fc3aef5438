#pragma once

#include <cstdint>

namespace zorva {

/// The thermal facility. Every change of the level posts the system notification
/// kThermalLevelChanged. What the sensors measure are the states of other system notifications.
class Thermal {
 public:
  virtual ~Thermal() = default;

  /// How much the device holds itself back because of its heat; 0 is not at all.
  virtual std::int32_t level() = 0;
};

inline constexpr const char* kThermalLevelChanged = "com.vennor.system.thermalLevelChanged";

}  // namespace zorva

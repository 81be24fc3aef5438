#pragma once

#include "platform/Thermal.h"

namespace zorva {

class SimThermal : public Thermal {
 public:
  std::int32_t level() override { return 0; }
};

}  // namespace zorva

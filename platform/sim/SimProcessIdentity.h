#pragma once

#include "platform/ProcessIdentity.h"

namespace zorva {

class SimProcessIdentity : public ProcessIdentity {
 public:
  std::uint32_t effectiveUser() override { return 0; }
  int setEffectiveUser(std::uint32_t) override { return 0; }
};

}  // namespace zorva

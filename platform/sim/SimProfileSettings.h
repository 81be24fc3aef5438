#pragma once

#include "platform/ProfileSettings.h"

namespace zorva {

class SimProfileSettings : public ProfileSettings {
 public:
  Value effectiveValue(const std::string&) override { return {}; }
};

}  // namespace zorva

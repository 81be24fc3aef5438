#pragma once

#include "platform/LocationService.h"

namespace zorva {

class LinuxLocationService : public LocationService {
 public:
  std::vector<std::int64_t> copyTechnologiesInUse() override { return {}; }
  std::vector<std::pair<std::string, Dictionary>> copyClients() override { return {}; }
};

}  // namespace zorva

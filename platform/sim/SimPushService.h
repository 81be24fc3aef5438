#pragma once

#include "platform/PushService.h"

namespace zorva {

class SimPushService : public PushService {
 public:
  std::unique_ptr<PushConnection> createConnection(const std::string&) override { return nullptr; }
};

}  // namespace zorva

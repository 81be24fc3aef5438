#pragma once

#include "platform/WiFiManager.h"

namespace zorva {

class SimWiFiManager : public WiFiManager {
 public:
  std::shared_ptr<WiFiManagerClient> createClient() override { return nullptr; }
};

}  // namespace zorva

#pragma once

#include "platform/WiFiManager.h"

namespace zorva {

class LinuxWiFiManager : public WiFiManager {
 public:
  std::shared_ptr<WiFiManagerClient> createClient() override { return nullptr; }
};

}  // namespace zorva

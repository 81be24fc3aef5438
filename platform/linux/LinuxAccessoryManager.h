#pragma once

#include "platform/AccessoryManager.h"

namespace zorva {

class LinuxAccessoryManager : public AccessoryManager {
 public:
  Registration observeConnected(std::function<void(const Accessory&)>) override { return {}; }
  Registration observeDisconnected(std::function<void(const Accessory&)>) override { return {}; }
  Registration registerForLocalNotifications() override { return {}; }
  std::vector<Accessory> connectedAccessories() override { return {}; }
};

}  // namespace zorva

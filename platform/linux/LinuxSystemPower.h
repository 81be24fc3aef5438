#pragma once

#include "platform/SystemPower.h"

namespace zorva {

class LinuxSystemPower : public SystemPower {
 public:
  Registered registerForSystemPower(Handler) override { return {}; }
  void allowPowerChange(std::uint32_t, std::intptr_t) override {}
  void deregisterForSystemPower(std::uint32_t& notifier) override { notifier = 0; }
  void closeConnection(std::uint32_t) override {}
};

}  // namespace zorva

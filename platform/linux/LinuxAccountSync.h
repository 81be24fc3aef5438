#pragma once

#include "platform/AccountSync.h"

namespace zorva {

class LinuxAccountSync : public AccountSync {
 public:
  std::vector<Dictionary> statusReports() override { return {}; }
};

}  // namespace zorva

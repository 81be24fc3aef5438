// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/loop/Clock.h"

namespace zorva {

class LinuxClock : public Clock {
 public:
  Date now() const override {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  }
};

}  // namespace zorva

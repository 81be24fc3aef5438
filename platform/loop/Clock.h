// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/base/Date.h"

namespace zorva {

/// The wall clock of the device.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() const = 0;
};

}  // namespace zorva

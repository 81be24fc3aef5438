// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace zorva {

/// The home-screen process's record of the time since the last full charge.
class BatteryUsage {
 public:
  virtual ~BatteryUsage() = default;

  struct Times {
    float usage;    ///< seconds in use
    float standby;  ///< seconds since the charge, in use or not
  };

  /// Nothing if the service does not reply.
  virtual std::optional<Times> times() = 0;
};

}  // namespace zorva

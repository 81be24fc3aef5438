// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace zorva {

/// The home-screen process's account of how long the device has run since its last full charge.
class BatteryUsage {
 public:
  virtual ~BatteryUsage() = default;

  struct Times {
    float usage;    ///< seconds in use
    float standby;  ///< seconds since the charge, in use or not
  };

  /// Nothing when the service does not answer.
  virtual std::optional<Times> times() = 0;
};

}  // namespace zorva

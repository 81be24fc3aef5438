// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// The units in which the system runs its services and applications, with the CPU time that all
/// their processes have used, those that have ended among them.
class WorkUnits {
 public:
  virtual ~WorkUnits() = default;

  struct Unit {
    std::string name;                ///< any bytes but "=" and ";"; no other unit's
    std::chrono::microseconds used;  ///< user and system time since the unit was started
  };

  /// All units, in any order. Together they have used what the system has: the figure of a unit
  /// that has others in it is what none of those accounts for, and so keeps what units that have
  /// gone had used. Nothing where the system does not run things in units.
  virtual std::optional<std::vector<Unit>> units() = 0;
};

}  // namespace zorva

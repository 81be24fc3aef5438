// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// The energy counters of the hardware: of the processor's package and its parts, of graphics, of
/// the whole board. Each adds up by itself what its part uses, from a start of its own.
class EnergyCounters {
 public:
  virtual ~EnergyCounters() = default;

  struct Counter {
    std::string id;    ///< any bytes; the same in each reading
    std::string name;  ///< any bytes; different from those of the other counters
    /// Microjoules; nothing where it cannot be read now, as that of a suspended device, which a
    /// reading would resume.
    std::optional<std::uint64_t> used;
    std::uint64_t range = 0;  ///< microjoules after which it starts again from 0; 0 if unknown
  };
  struct Reading {
    double awake = 0;               ///< seconds that the device has been awake, from any start
    std::vector<Counter> counters;  ///< none where there are none, or none may be read
  };

  /// Reads all counters, without resuming a device.
  virtual Reading read() = 0;
};

}  // namespace zorva

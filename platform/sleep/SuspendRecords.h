// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// What the kernel has added up about the system's sleeps since it booted. A counter that is less
/// than before has begun anew.
struct SuspendTotals {
  /// Something that can wake the system, or keep it from sleeping.
  struct Source {
    std::string name;                     ///< any bytes; several may have the same
    std::int64_t events = 0;              ///< signalled
    std::chrono::milliseconds blocked{};  ///< for which it has kept the system from sleeping
  };

  std::chrono::milliseconds asleep{};
  /// In the hardware's deepest state, if the hardware adds it up.
  std::optional<std::chrono::microseconds> inHardware;
  /// In it during the last sleep alone, if only that is known.
  std::optional<std::chrono::microseconds> lastInHardware;
  std::string mode;           ///< how the system sleeps: "s2idle", "deep"; empty if not known
  std::int64_t failures = 0;  ///< attempts to sleep that failed
  std::string failedStep;     ///< of the last failed attempt: "suspend"; empty if not known
  std::string failedDevice;   ///< of the last failed attempt; empty if none or not known
  int failedError = 0;        ///< errno value of the last failed attempt
  std::vector<Source> sources;
};

/// The kernel's records of sleeps.
class SuspendRecords {
 public:
  virtual ~SuspendRecords() = default;

  /// Nothing if the system cannot sleep or keeps no records.
  virtual std::optional<SuspendTotals> read() = 0;
};

}  // namespace zorva

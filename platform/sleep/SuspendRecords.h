// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// What the kernel has added up about the system's sleeps since it booted. A counter that is less
/// than before has begun anew.
struct SuspendTotals {
  /// Something that can wake the system, or keep it from sleeping.
  struct Source {
    std::string id;                       ///< unique among those of one reading; may be reused
    std::string name;                     ///< any bytes; several may have the same
    std::int64_t events = 0;              ///< signalled
    std::chrono::milliseconds blocked{};  ///< for which it has kept the system from sleeping
  };

  std::chrono::milliseconds asleep{};
  /// In the hardware's deepest state; nothing if the hardware does not report it.
  std::optional<std::chrono::microseconds> inHardware;
  /// A longer sleep is not added up right.
  std::chrono::microseconds maxInHardware = std::chrono::microseconds::max();
  std::string mode;  ///< how the system is to sleep: "s2idle", "deep"; empty if not known
  std::optional<std::int64_t> successes;  ///< sleeps, without hibernations
  std::int64_t failures = 0;              ///< attempts to sleep that failed
  /// Failures by the step, of attempts and of wakes: "freeze", "suspend", "resume".
  std::map<std::string, std::int64_t> failedSteps;
  // Of the last failures. The kernel keeps each by itself, so they may be of different ones.
  std::string lastFailedStep;
  std::string lastFailedDevice;
  int lastFailedError = 0;  ///< errno value
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zorva {

/// What the kernel keeps of the sleeps since it booted.
struct SleepRecord {
  /// Attempts to suspend that succeeded and that failed; nothing where the kernel does not count.
  /// A hibernation is not counted.
  std::optional<std::int64_t> successes;
  std::optional<std::int64_t> failures;
  std::int64_t slept = 0;  ///< nanoseconds, by the clocks
};

/// The counts are those below `sysfs` ("/sys").
SleepRecord readSleepRecord(const std::string& sysfs, std::int64_t slept);

enum class SleepResult { Slept, Failed, Unknown };

/// What came of an attempt to sleep, by the records before and after it.
SleepResult sleepResult(const SleepRecord& before, const SleepRecord& after);

}  // namespace zorva

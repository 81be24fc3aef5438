// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/SleepRecord.h"

#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/ClockJumps.h"

namespace zorva {
namespace {

// Where the kernel has to measure a sleep by a clock of whole seconds, it may count up to one for
// an attempt that was given up at the last step.
constexpr std::int64_t kMaxOfFailed = 2'000'000'000;  // nanoseconds

}  // namespace

SleepRecord readSleepRecord(const std::string& sysfs, std::int64_t slept) {
  const std::string directory = sysfs + "/power/suspend_stats/";
  return {readNumber(directory + "success"), readNumber(directory + "fail"), slept};
}

SleepResult sleepResult(const SleepRecord& before, const SleepRecord& after) {
  const std::int64_t slept = after.slept - before.slept;
  if (after.successes > before.successes || slept >= kMaxOfFailed) return SleepResult::Slept;
  if (after.failures > before.failures) return SleepResult::Failed;
  if (slept >= kMinSleep) return SleepResult::Slept;
  // The kernel was not even asked, or could not hibernate.
  return after.successes ? SleepResult::Failed : SleepResult::Unknown;
}

}  // namespace zorva

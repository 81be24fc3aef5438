// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxSuspendRecords.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

// "s2idle [deep]"
std::string selectedIn(const std::string& modes) {
  const std::size_t open = modes.find('['), close = modes.find(']');
  return open < close && close != modes.npos ? modes.substr(open + 1, close - open - 1) : "";
}

// A count or a time; no other number is one.
std::optional<std::int64_t> readCount(const std::string& path) {
  constexpr std::int64_t kMax = std::int64_t{1} << 53;  // as microseconds 285 years
  const auto number = readNumber(path);
  return number >= 0 && number <= kMax ? number : std::nullopt;
}

std::optional<std::chrono::microseconds> microsecondsIn(const std::string& path) {
  const auto count = readCount(path);
  return count ? std::optional(std::chrono::microseconds(*count)) : std::nullopt;
}

}  // namespace

LinuxSuspendRecords::LinuxSuspendRecords(std::string sysfs,
                                         std::function<std::int64_t()> nanosecondsSlept)
    : sysfs_(std::move(sysfs)), nanosecondsSlept_(std::move(nanosecondsSlept)) {}

std::optional<SuspendTotals> LinuxSuspendRecords::read() {
  const std::string power = sysfs_ + "/power/", stats = power + "suspend_stats/";
  const auto modes = readAttribute(power + "mem_sleep");
  const auto failures = readCount(stats + "fail");
  if (!modes && !failures) return std::nullopt;
  SuspendTotals totals;
  totals.asleep = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::nanoseconds(nanosecondsSlept_()));
  totals.mode = selectedIn(modes.value_or(""));
  readHardware(totals);
  totals.successes = readCount(stats + "success");
  totals.failures = failures.value_or(0);
  for (const char* step : {"freeze", "prepare", "suspend", "suspend_late", "suspend_noirq",
                           "resume_noirq", "resume_early", "resume"}) {
    totals.failedSteps[step] = readCount(stats + "failed_" + step).value_or(0);
  }
  totals.lastFailedStep = readAttribute(stats + "last_failed_step").value_or("");
  totals.lastFailedDevice = readAttribute(stats + "last_failed_dev").value_or("");
  constexpr std::int64_t kMaxError = 4095;
  const std::int64_t error = readNumber(stats + "last_failed_errno").value_or(0);
  if (error >= -kMaxError && error <= kMaxError) {
    totals.lastFailedError = std::abs(static_cast<int>(error));
  }
  const std::string sources = sysfs_ + "/class/wakeup";
  for (const std::string& entry : entryNames(sources)) {
    const std::string source = sources + "/" + entry + "/";
    auto name = readAttribute(source + "name");
    const auto events = readCount(source + "event_count");
    if (!name || !events) continue;  // gone while they were listed
    if (name->empty()) name = entry;
    const auto blocked = readCount(source + "prevent_suspend_time_ms").value_or(0);
    totals.sources.push_back(
        {entry, std::move(*name), *events, std::chrono::milliseconds(blocked)});
  }
  return totals;
}

// Intel's own counter where there is one, readable or not: what the kernel adds up by itself there
// has 32 bits for each sleep, which wrap after 72 minutes.
void LinuxSuspendRecords::readHardware(SuspendTotals& totals) const {
  const std::string residency =
      sysfs_ + "/devices/system/cpu/cpuidle/low_power_idle_system_residency_us";
  if (::access(residency.c_str(), F_OK) == 0) {
    totals.inHardware = microsecondsIn(residency);
    return;
  }
  const std::string stats = sysfs_ + "/power/suspend_stats/";
  // The longest sleep that can be counted; 0 as long as no driver reports any, all ones without a
  // limit.
  const auto longest = readAttribute(stats + "max_hw_sleep");
  if (!longest || *longest == "0") return;
  totals.inHardware = microsecondsIn(stats + "total_hw_sleep");
  if (const auto limit = wholeNumber(longest)) {
    totals.maxInHardware = std::chrono::microseconds(*limit);
  }
}

}  // namespace zorva

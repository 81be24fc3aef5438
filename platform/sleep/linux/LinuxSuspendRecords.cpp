// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxSuspendRecords.h"

#include <cstdlib>
#include <utility>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

// "s2idle [deep]"
std::string selectedIn(const std::string& modes) {
  const std::size_t open = modes.find('['), close = modes.find(']');
  return open < close && close != modes.npos ? modes.substr(open + 1, close - open - 1) : "";
}

std::optional<std::chrono::microseconds> microsecondsIn(const std::string& path) {
  const auto number = readNumber(path);
  if (!number || *number < 0) return std::nullopt;
  return std::chrono::microseconds(*number);
}

}  // namespace

LinuxSuspendRecords::LinuxSuspendRecords(std::string sysfs,
                                         std::function<std::int64_t()> nanosecondsSlept)
    : sysfs_(std::move(sysfs)), nanosecondsSlept_(std::move(nanosecondsSlept)) {}

std::optional<SuspendTotals> LinuxSuspendRecords::read() {
  const std::string power = sysfs_ + "/power/", stats = power + "suspend_stats/";
  const auto modes = readAttribute(power + "mem_sleep");
  const auto failures = readNumber(stats + "fail");
  if (!modes && !failures) return std::nullopt;
  SuspendTotals totals;
  totals.asleep = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::nanoseconds(nanosecondsSlept_()));
  totals.mode = selectedIn(modes.value_or(""));
  totals.inHardware =
      microsecondsIn(sysfs_ + "/devices/system/cpu/cpuidle/low_power_idle_system_residency_us");
  // Where both exist this one is 32 bits wide, which wrap after 72 minutes.
  if (!totals.inHardware) totals.lastInHardware = microsecondsIn(stats + "last_hw_sleep");
  totals.failures = failures.value_or(0);
  totals.failedStep = readAttribute(stats + "last_failed_step").value_or("");
  totals.failedDevice = readAttribute(stats + "last_failed_dev").value_or("");
  totals.failedError =
      std::abs(static_cast<int>(readNumber(stats + "last_failed_errno").value_or(0)));
  const std::string sources = sysfs_ + "/class/wakeup";
  for (const std::string& entry : entryNames(sources)) {
    const std::string source = sources + "/" + entry + "/";
    totals.sources.push_back(
        {readAttribute(source + "name").value_or(entry),
         readNumber(source + "event_count").value_or(0),
         std::chrono::milliseconds(readNumber(source + "prevent_suspend_time_ms").value_or(0))});
  }
  return totals;
}

}  // namespace zorva

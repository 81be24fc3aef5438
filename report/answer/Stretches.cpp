// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "report/answer/Answer.h"

namespace zorva {
namespace {

constexpr double kTimesUsual = 2;
// What is shorter or used less is not worth a line.
constexpr LogTime kShortest = 10 * LogTime{60};
constexpr double kLeast = 2;
// Intervals between which nothing faster than usual came may be so far apart.
constexpr LogTime kGap = 5 * LogTime{60};
constexpr std::size_t kParts = 3;

double rateOf(const PowerInterval& interval) {
  return interval.used / static_cast<double>(std::max<LogTime>(1, interval.seconds()));
}

bool isAsleep(const PowerInterval& interval) {
  return interval.asleep * 2 > interval.seconds();
}

// The rate at or below which the battery was for half of the time.
double usualRate(std::vector<const PowerInterval*> intervals) {
  std::ranges::sort(intervals, {}, [](const auto* interval) { return rateOf(*interval); });
  LogTime all = 0;
  for (const auto* interval : intervals) all += interval->seconds();
  LogTime passed = 0;
  for (const auto* interval : intervals) {
    passed += interval->seconds();
    if (passed * 2 >= all) return rateOf(*interval);
  }
  return 0;
}

}  // namespace

std::vector<Stretch> stretchesOf(const LogSummary& summary, const Account& account) {
  std::vector<const PowerInterval*> states[2];
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.onBattery() && interval.seconds() > 0) {
      states[isAsleep(interval) ? 1 : 0].push_back(&interval);
    }
  }
  const double usual[2] = {usualRate(states[0]), usualRate(states[1])};
  std::vector<Stretch> stretches;
  std::vector<bool> asleep;
  for (const PowerInterval& interval : summary.intervals) {
    if (!interval.onBattery() || interval.seconds() <= 0) continue;
    const bool sleeps = isAsleep(interval);
    const double usualNow = usual[sleeps ? 1 : 0];
    if (!(usualNow > 0) || rateOf(interval) < kTimesUsual * usualNow) continue;
    if (stretches.empty() || interval.begin - stretches.back().end > kGap ||
        asleep.back() != sleeps) {
      stretches.push_back({interval.begin, interval.end, 0, 0, 0, {}});
      asleep.push_back(sleeps);
    }
    Stretch& stretch = stretches.back();
    stretch.end = interval.end;
    stretch.used += interval.used;
    stretch.asleep += interval.asleep;
    stretch.times = usualNow;
  }
  std::erase_if(stretches, [](const Stretch& stretch) {
    return stretch.end - stretch.begin < kShortest || stretch.used < kLeast;
  });
  for (Stretch& stretch : stretches) {
    stretch.times = stretch.used / static_cast<double>(stretch.end - stretch.begin) / stretch.times;
  }
  std::ranges::stable_sort(stretches, std::greater(), [](const Stretch& stretch) {
    return stretch.used * (1 - 1 / stretch.times);
  });
  if (stretches.size() > Answer::kMaxStretches) stretches.resize(Answer::kMaxStretches);
  for (Stretch& stretch : stretches) {
    stretch.parts = account.over(stretch.begin, stretch.end).parts;
    if (stretch.parts.size() > kParts) stretch.parts.resize(kParts);
  }
  return stretches;
}

}  // namespace zorva

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
  std::vector<double> usualOf;
  const PowerInterval* last = nullptr;
  Stretch between;  // what came since the last stretch, in case that it goes on
  for (const PowerInterval& interval : summary.intervals) {
    const bool apart = last == nullptr || interval.begin != last->end;
    last = &interval;
    if (apart) between.end = -1;
    if (!interval.onBattery() || interval.seconds() <= 0) {
      between.end = -1;
      continue;
    }
    const double usualNow = usual[isAsleep(interval) ? 1 : 0];
    const bool goesOn = !stretches.empty() && between.end >= 0 && usualOf.back() == usualNow &&
                        interval.begin - stretches.back().end <= kGap;
    if (!(usualNow > 0) || rateOf(interval) < kTimesUsual * usualNow) {
      between.used += interval.used;
      between.asleep += interval.asleep;
      continue;
    }
    if (!goesOn) {
      stretches.push_back({interval.begin, interval.end, 0, 0, 0, {}});
      usualOf.push_back(usualNow);
      between = {};
    }
    Stretch& stretch = stretches.back();
    stretch.end = interval.end;
    stretch.used += interval.used + between.used;
    stretch.asleep += interval.asleep + between.asleep;
    between = {};
  }
  for (std::size_t i = 0; i < stretches.size(); ++i) {
    Stretch& stretch = stretches[i];
    stretch.times = stretch.used / (static_cast<double>(stretch.end - stretch.begin) * usualOf[i]);
  }
  std::erase_if(stretches, [](const Stretch& stretch) {
    return stretch.end - stretch.begin < kShortest || stretch.used < kLeast ||
           stretch.times < kTimesUsual;
  });
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

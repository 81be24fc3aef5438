// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "platform/base/Text.h"
#include "report/answer/FindingRules.h"
#include "report/format/Wording.h"

namespace zorva {
namespace findings {
namespace {

using Kind = Finding::Kind;

// Awake in the dark for less than this is nothing to speak of.
constexpr LogTime kLongAwake = kHour;
constexpr double kUsuallyAsleep = 0.6;  // percent per hour, where the log has no sleep of its own
constexpr double kManyWakesPerHour = 4;
constexpr std::uint64_t kManyWakes = 12;
constexpr double kDeep = 0.7;        // of a sleep, in the hardware's deepest state
constexpr double kMuchAsleep = 2.5;  // percent per hour

// "packagekitd (Installing updates)"; the same name is not told twice.
std::string holderText(const std::string& name, const std::string& detail) {
  return detail.empty() || detail == name ? name : name + " (\"" + detail + "\")";
}

// Who held the device awake for most of a time in the dark.
struct Holder {
  std::string name;
  std::string detail;
  LogTime seconds = 0;
};

std::optional<Holder> holderBetween(const LogSummary& summary, LogTime from, LogTime to) {
  std::vector<Holder> holders;
  for (const auto& hold : summary.darkHolds) {
    const LogTime seconds = std::min(hold.end, to) - std::max(hold.begin, from);
    if (seconds <= 0) continue;
    auto known = std::ranges::find_if(holders, [&](const Holder& each) {
      return each.name == hold.name && each.detail == hold.detail;
    });
    if (known == holders.end()) known = holders.insert(known, {hold.name, hold.detail, 0});
    known->seconds += seconds;
  }
  const auto most = std::ranges::max_element(holders, {}, &Holder::seconds);
  return most == holders.end() ? std::nullopt : std::optional(*most);
}

// The process that used most CPU time between two times, and its share of one processor.
struct Busiest {
  std::string name;
  double share = 0;
};

std::optional<Busiest> busiestBetween(const LogSummary& summary, LogTime from, LogTime to) {
  std::vector<double> seconds(summary.names.size());
  LogTime all = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.begin < from || interval.end > to) continue;
    all += interval.awake();
    for (const auto& [name, used] : interval.busiest) seconds[name] += static_cast<double>(used);
  }
  const auto most = std::ranges::max_element(seconds);
  if (most == seconds.end() || all == 0) return std::nullopt;
  return Busiest{summary.names[static_cast<std::size_t>(most - seconds.begin())],
                 *most / static_cast<double>(all)};
}

double usuallyAsleep(const Answer& answer) {
  const auto rate = answer.account.asleep().perHour();
  return rate && answer.account.asleep().seconds > kHour ? *rate : kUsuallyAsleep;
}

// The longest time awake with a dark display.
struct Dark {
  LogTime begin = 0;
  LogTime end = 0;
  LogTime dark = 0;
  double used = 0;
};

std::vector<Dark> darkTimes(const LogSummary& summary) {
  std::vector<Dark> all;
  bool open = false;
  for (const PowerInterval& interval : summary.intervals) {
    const bool dark = interval.onBattery() && interval.dark() * 10 >= interval.seconds() * 8;
    if (!dark) {
      // A short look at the display does not end it.
      open = open && interval.onBattery() && interval.seconds() < 10 * LogTime{60} &&
             interval.asleep * 2 < interval.seconds();
      continue;
    }
    if (!open || interval.begin - all.back().end > 15 * LogTime{60}) {
      all.push_back({interval.begin, interval.begin, 0, 0});
    }
    open = true;
    all.back().end = interval.end;
    all.back().dark += interval.dark();
    all.back().used += interval.used;
  }
  return all;
}

}  // namespace

std::optional<Finding> neverSlept(const LogSummary& summary, const Answer& answer) {
  const bool displayKnown = !summary.lane(Lane::Display).empty();
  Dark whole;
  Dark longest;
  for (const Dark& dark : darkTimes(summary)) {
    if (dark.dark < kLongAwake) continue;
    // What other causes used meanwhile is not for being awake.
    double others = 0;
    for (const AccountPart& part : answer.account.over(dark.begin, dark.end).parts) {
      const bool own = part.cause == Cause::Modem || part.cause == Cause::Call ||
                       part.cause == Cause::Wifi || part.cause == Cause::Audio;
      if (own) others += part.percent;
    }
    whole.used +=
        dark.used - others - usuallyAsleep(answer) * static_cast<double>(dark.dark) / kHour;
    whole.dark += dark.dark;
    if (dark.dark > longest.dark) longest = dark;
  }
  if (whole.dark == 0 || whole.used < kLeastPercent) return std::nullopt;
  const std::optional<Holder> holder = holderBetween(summary, longest.begin, longest.end);
  const bool held = holder && holder->seconds * 2 >= longest.dark;
  std::uint64_t refused = 0;
  std::string device;
  for (const auto& refusal : summary.refusals) {
    if (refusal.time < longest.begin || refusal.time > longest.end) continue;
    ++refused;
    device = refusal.device;
  }
  // Without a display in the log, being awake alone says nothing.
  if (!displayKnown && !held && refused == 0) return std::nullopt;
  Finding finding{Kind::NeverSlept, whole.used, "", "", {}, longest.begin, longest.end, whole.used};
  finding.sentence = "the device did not sleep " + when(longest.begin, longest.end) + ", " +
                     duration(longest.dark) + (displayKnown ? " with a dark display" : "");
  if (held) {
    finding.sentence += ": " + holderText(holder->name, holder->detail) + " kept it awake for " +
                        duration(holder->seconds);
    finding.advice = "End " + holder->name + ", or let it not hold the device awake.";
  }
  if (refused > 0) {
    finding.sentence += std::string(held ? "; " : ": ") +
                        counted(refused, "attempt to sleep was", "attempts to sleep were") +
                        " refused or failed";
    if (!device.empty()) finding.sentence += " (" + device + ")";
  }
  const auto busiest = busiestBetween(summary, longest.begin, longest.end);
  if (busiest && busiest->share >= kBusy) {
    finding.sentence += (held || refused > 0 ? ", and " : ": ") + busiest->name + " used " +
                        shareText(busiest->share, 1) + " of a processor";
    if (finding.advice.empty()) finding.advice = "See what " + busiest->name + " does.";
  }
  finding.figures = {
      "Awake with a dark display for " + duration(whole.dark) + ", the longest " +
          when(longest.begin, longest.end) + ", in which the level fell " +
          percentText(longest.used) + ".",
      "Asleep it would have used " + percentText(usuallyAsleep(answer)) + " per hour."};
  for (const auto& tally : summary.lane(Lane::Assertion)) {
    if (tally.dark < kLongAwake / 4 && tally.refused == 0) continue;
    finding.figures.push_back(holderText(tally.name, tally.detail) + " held " +
                              duration(tally.seconds) + ", awake " + duration(tally.awake) +
                              ", in the dark " + duration(tally.dark) +
                              "; sleeps refused meanwhile: " + grouped(tally.refused) + ".");
  }
  return finding;
}

std::optional<Finding> wokenOften(const LogSummary& summary, const Answer& answer) {
  LogTime dark = 0;
  double used = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (!interval.onBattery() || interval.asleep == 0 || interval.awake() == 0) continue;
    const auto asleep = answer.account.asleep(interval.begin, interval.end);
    used += std::max(0.0, interval.used - asleep.percent) * static_cast<double>(interval.dark()) /
            static_cast<double>(interval.awake());
    dark += interval.dark();
  }
  const double hours = static_cast<double>(summary.asleepSeconds + dark) / kHour;
  if (summary.wakes < kManyWakes || hours <= 0 ||
      static_cast<double>(summary.wakes) / hours < kManyWakesPerHour) {
    return std::nullopt;
  }
  const auto& owners = summary.wakeOwners;
  const auto& reasons = summary.wakeReasons;
  Finding finding{Kind::WokenOften, used, "", "", {}, summary.first, summary.last, used};
  finding.sentence = "it was woken " + counted(summary.wakes, "time", "times") + ", " +
                     figure(static_cast<double>(summary.wakes) / hours) +
                     " per hour of the time in which it was not in use";
  if (!owners.empty() && owners.front().count * 3 >= summary.wakes) {
    finding.sentence += ": " + grouped(owners.front().count) + " for " + owners.front().name;
    finding.advice = "See why " + owners.front().name + " gets so much traffic.";
  } else if (!reasons.empty()) {
    finding.sentence += ": " + grouped(reasons.front().count) + " by " + reasons.front().name;
  }
  finding.figures = {"Awake between sleeps for " + duration(dark) + " in the dark, which used " +
                     percentText(used) + "."};
  for (const auto* tallies : {&reasons, &owners}) {
    for (std::size_t i = 0; i < std::min<std::size_t>(3, tallies->size()); ++i) {
      finding.figures.push_back(counted((*tallies)[i].count, "wake", "wakes") +
                                (tallies == &owners ? " for " : " by ") + (*tallies)[i].name + ".");
    }
  }
  return finding;
}

std::optional<Finding> shallowSleep(const LogSummary& summary, const Answer& answer) {
  const Account::Charge asleep = answer.account.asleep();
  const auto rate = asleep.perHour();
  if (asleep.seconds < kHour || !rate) return std::nullopt;
  Finding finding{Kind::ShallowSleep, 0, "", "", {}, summary.first, summary.last, 0};
  const std::string cost = percentText(asleep.percent) + " in " + duration(asleep.seconds) +
                           " of sleep, " + percentText(*rate) + " per hour";
  finding.percent = asleep.percent;
  if (summary.recordedAsleep >= kHour) {
    const double share =
        static_cast<double>(summary.hardwareAsleep) / static_cast<double>(summary.recordedAsleep);
    if (share >= kDeep) return std::nullopt;
    finding.sentence = "its sleep was not deep: the hardware was in its deepest state for only " +
                       shareText(share, 1) + " of it, and it used " + cost;
    finding.weight = asleep.percent * (1 - share);
    finding.advice =
        "Another sleep mode (/sys/power/mem_sleep), newer firmware or a device that is "
        "unplugged may help.";
  } else if (*rate >= kMuchAsleep) {
    finding.sentence = "it used much while it slept: " + cost;
    finding.weight = asleep.percent - kUsuallyAsleep * static_cast<double>(asleep.seconds) / kHour;
  } else {
    return std::nullopt;
  }
  for (const auto& sleep : summary.longestSleeps) {
    if (!sleep.hardware) continue;
    finding.figures.push_back("Slept " + duration(sleep.end - sleep.begin) + " from " +
                              shortTime(sleep.begin) + ", in the deepest state " +
                              duration(*sleep.hardware) +
                              (sleep.mode.empty() ? "." : " (" + sleep.mode + ")."));
  }
  if (finding.figures.empty()) finding.figures = {"Used " + cost + "."};
  return finding;
}

}  // namespace findings
}  // namespace zorva

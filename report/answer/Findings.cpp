// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/base/Text.h"
#include "report/answer/Answer.h"
#include "report/format/Wording.h"

// Each rule is a function from the log's summary and account to a finding, or none. What a finding
// weighs is how much of the battery was used beyond what the device would have used without it.

namespace zorva {
namespace {

using Kind = Finding::Kind;

constexpr LogTime kHour = 3600;

// Awake in the dark for less than this is nothing to speak of.
constexpr LogTime kLongAwake = kHour;
constexpr double kUsuallyAsleep = 0.6;  // percent per hour, where the log has no sleep of its own
constexpr double kManyWakesPerHour = 4;
constexpr std::uint64_t kManyWakes = 12;
constexpr double kDeep = 0.7;        // of a sleep, in the hardware's deepest state
constexpr double kMuchAsleep = 2.5;  // percent per hour
constexpr double kBusy = 0.3;        // of one processor
constexpr LogTime kLongBusy = 15 * LogTime{60};
constexpr double kBright = 0.7;  // of full brightness
constexpr double kModestlyBright = 0.4;
constexpr double kMuchOfAll = 0.3;  // a part of all that was used
constexpr double kWorn = 0.7;       // of the new battery's capacity
constexpr LogTime kLongHot = 20 * LogTime{60};
constexpr double kLeastPercent = 1;
// Of all that was used: what a finding must weigh to be told in the verdict, and to be its reason.
constexpr double kSpeaks = 0.1;
constexpr double kMostly = 0.35;

std::string when(LogTime from, LogTime to) {
  return from / 86400 == to / 86400
             ? "from " + clockTime(from) + " to " + clockTime(to)
             : "from " + shortTime(from).substr(0, 12) + " to " + shortTime(to).substr(0, 12);
}

std::string wholePercent(double value) {
  return value >= 10 ? formatText("%.0f %%", value) : percentText(value);
}

std::string shareText(double part, double whole) {
  return formatText("%.0f %%", whole > 0 ? 100 * part / whole : 0);
}

// "packagekitd (Installing updates)"; the same name is not told twice.
std::string holderText(const LogSummary::Tally& holder) {
  return holder.detail.empty() || holder.detail == holder.name
             ? holder.name
             : holder.name + " (\"" + holder.detail + "\")";
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
  const auto& holders = summary.lane(Lane::Assertion);
  const auto holder = std::ranges::max_element(holders, {}, &LogSummary::Tally::dark);
  const bool held = holder != holders.end() && holder->dark * 2 >= longest.dark;
  std::uint64_t refused = 0;
  for (const auto& refusal : summary.refusals) {
    refused += refusal.time >= longest.begin && refusal.time <= longest.end ? 1 : 0;
  }
  // Without a display in the log, being awake alone says nothing.
  if (!displayKnown && !held && refused == 0) return std::nullopt;
  Finding finding{Kind::NeverSlept, whole.used, "", "", {}, longest.begin, longest.end, whole.used};
  finding.sentence = "the device did not sleep " + when(longest.begin, longest.end) + ", " +
                     duration(longest.dark) + (displayKnown ? " with a dark display" : "");
  if (held) {
    finding.sentence += ": " + holderText(*holder) + " kept it awake for " + duration(holder->dark);
    finding.advice = "End " + holder->name + ", or let it not hold the device awake.";
  }
  if (refused > 0) {
    finding.sentence += std::string(held ? "; " : ": ") +
                        counted(refused, "attempt to sleep was", "attempts to sleep were") +
                        " refused or failed";
    const auto& last = summary.refusals.back();
    if (!last.device.empty()) finding.sentence += " (" + last.device + ")";
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
  for (const auto& tally : holders) {
    if (tally.dark < kLongAwake / 4 && tally.refused == 0) continue;
    finding.figures.push_back(holderText(tally) + " held " + duration(tally.seconds) + ", awake " +
                              duration(tally.awake) + ", in the dark " + duration(tally.dark) +
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

std::vector<Finding> busyProcesses(const LogSummary& summary, const Answer& answer) {
  struct Use {
    double seconds = 0;  // CPU
    double busy = 0;     // CPU, in intervals in which it was busy
    LogTime time = 0;    // of these
    LogTime from = 0;
    LogTime to = 0;
  };
  std::vector<Use> uses(summary.names.size());
  double all = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (!interval.onBattery()) continue;
    all += interval.cpu;
    for (const auto& [name, used] : interval.busiest) {
      Use& use = uses[name];
      const auto seconds = static_cast<double>(used);
      use.seconds += seconds;
      if (interval.awake() == 0 || seconds < kBusy * static_cast<double>(interval.awake()))
        continue;
      if (use.time == 0) use.from = interval.begin;
      use.to = interval.end;
      use.busy += seconds;
      use.time += interval.awake();
    }
  }
  const AccountPart* const together = answer.whole.find(Cause::Together);
  std::vector<Finding> findings;
  for (std::size_t i = 0; i < uses.size(); ++i) {
    const Use& use = uses[i];
    if (use.time < kLongBusy) continue;
    const std::string& name = summary.names[i];
    const AccountPart* const part = answer.whole.find(Cause::Process, name);
    double percent = part != nullptr ? part->percent * use.busy / use.seconds : 0;
    const bool unknown = part == nullptr;
    if (unknown && together != nullptr && all > 0) {
      // At most what it came together with, and then only for the time in which it was busy.
      percent = together->percent * use.seconds / all * static_cast<double>(use.time) /
                static_cast<double>(std::max<LogTime>(1, answer.whole.seconds));
    }
    if (percent < kLeastPercent) continue;
    Finding finding{Kind::BusyProcess, percent, "", "", {}, use.from, use.to, percent};
    finding.sentence = name + " used " + shareText(use.busy, static_cast<double>(use.time)) +
                       " of a processor for " + duration(use.time) + ", " + when(use.from, use.to);
    finding.advice = "See what " + name + " does, and end or limit it if that is not wanted.";
    finding.figures = {
        "CPU time on battery: " + duration(static_cast<LogTime>(std::llround(use.seconds))) +
        " of " + duration(static_cast<LogTime>(std::llround(all))) + " of all processes."};
    if (unknown) {
      finding.figures.push_back(
          "The log does not tell its cost from that of other things: the figure is a guess.");
    } else {
      finding.figures.push_back("Its CPU time used " + percentText(part->percent) +
                                " of the battery" + (part->measured ? ", measured" : "") + " (+- " +
                                percentText(part->error) + ").");
    }
    findings.push_back(std::move(finding));
  }
  return findings;
}

std::optional<Finding> brightDisplay(const LogSummary& summary, const Answer& answer) {
  const AccountPart* const part = answer.whole.find(Cause::Display);
  LogTime lit = 0;
  double brightness = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (!interval.onBattery()) continue;
    lit += interval.lit;
    brightness += interval.brightness;
  }
  if (part == nullptr || lit < kHour) return std::nullopt;
  const double mean = brightness / static_cast<double>(lit);
  if (mean < kBright || part->percent < kMuchOfAll * answer.whole.percent) return std::nullopt;
  Finding finding{Kind::Display,
                  part->percent,
                  "",
                  "",
                  {},
                  summary.first,
                  summary.last,
                  part->percent * (1 - kModestlyBright / mean)};
  finding.sentence = "the display was lit for " + duration(lit) + " at " + shareText(mean, 1) +
                     " of its brightness on average";
  finding.advice = "At half of full brightness it would have used about " +
                   percentText(part->percent * (1 - 0.5 / mean)) + " less.";
  finding.figures = {"The display used " + percentText(part->percent) + " (+- " +
                     percentText(part->error) +
                     "), estimated from how the level fell at "
                     "different brightness."};
  return finding;
}

std::optional<Finding> radio(const LogSummary& summary, const Answer& answer) {
  double percent = 0;
  double bytes = 0;
  LogTime calls = 0;
  for (const Cause cause : {Cause::Modem, Cause::Call}) {
    if (const auto* part = answer.whole.find(cause)) percent += part->percent;
  }
  for (const PowerInterval& interval : summary.intervals) {
    if (!interval.onBattery()) continue;
    bytes += interval.modemBytes;
    calls += interval.call;
  }
  const bool weak =
      summary.weakSignalSeconds * 2 > summary.signalSeconds && summary.weakSignalSeconds >= kHour;
  const double share = answer.whole.percent > 0 ? percent / answer.whole.percent : 0;
  if (share < (weak ? kMuchOfAll / 2 : kMuchOfAll)) return std::nullopt;
  Finding finding{Kind::WeakSignal, percent, "", "", {}, summary.first, summary.last, percent};
  finding.sentence = "the modem used much";
  if (weak) finding.sentence += " with a weak signal";
  if (bytes > 0) finding.sentence += ": " + byteCount(bytes) + " of mobile traffic";
  if (calls > 60) {
    finding.sentence += std::string(bytes > 0 ? " and " : ": ") + duration(calls) + " of calls";
  }
  if (weak) {
    finding.advice =
        "Where there is Wi-Fi, use it; without any network, the aeroplane mode saves "
        "most.";
    finding.figures.push_back(
        "The signal was at or below " + formatText("%.0f dBm", LogSummary::kWeakSignal) + " for " +
        duration(summary.weakSignalSeconds) + " of " + duration(summary.signalSeconds) + ".");
  }
  finding.figures.push_back("Traffic and calls used " + percentText(percent) + ", estimated.");
  return finding;
}

std::optional<Finding> heat(const LogSummary& summary, const Answer& answer) {
  LogTime hot = 0;
  double used = 0;
  LogTime from = 0;
  LogTime to = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.hot == 0 || interval.charging * 2 > interval.seconds()) continue;
    if (hot == 0) from = interval.begin;
    to = interval.end;
    hot += interval.hot;
    used += interval.used * static_cast<double>(interval.hot) /
            static_cast<double>(std::max<LogTime>(1, interval.seconds()));
  }
  LogTime notCharged = 0;
  for (const auto& tally : summary.lane(Lane::NotCharged)) {
    if (tally.detail == "OverTemp") notCharged += tally.seconds;
  }
  if (hot < kLongHot && notCharged < kLongHot) return std::nullopt;
  const double rate =
      answer.whole.percent / static_cast<double>(std::max<LogTime>(1, answer.whole.seconds));
  const double beyond = std::max(0.0, used - rate * static_cast<double>(hot));
  Finding finding{Kind::Heat, used, "", "", {}, from, to, notCharged > 0 ? used : beyond / 2};
  finding.sentence = "it was hot for " + duration(std::max(hot, notCharged));
  if (summary.hottestBattery) {
    finding.sentence += formatText(" (the battery up to %.0f C)", *summary.hottestBattery);
  }
  if (notCharged > 0) {
    finding.sentence += ", and too hot to be charged for " + duration(notCharged);
    finding.advice = "Let it cool down before it is charged.";
  } else {
    finding.sentence += ", so that it was throttled";
  }
  finding.figures = {"In the heat the level fell " + percentText(used) + "."};
  return finding;
}

std::optional<Finding> wornBattery(const LogSummary& summary, const Answer& answer) {
  const BatteryLife& life = summary.batteryLife;
  const auto now = summary.capacity ? summary.capacity : life.capacity;
  if (!now || !life.newCapacity || *now >= kWorn * *life.newCapacity) return std::nullopt;
  const double left = *now / *life.newCapacity;
  const double percent = answer.whole.percent * (1 - left);
  Finding finding{Kind::WornBattery, percent, "", "", {}, summary.first, summary.last, percent};
  finding.sentence =
      "the battery is worn: it holds " + shareText(left, 1) + " of what it held when new" +
      (life.cycles > 0 ? formatText(", after %lld cycles", (long long)life.cycles) : std::string());
  finding.advice = "A new battery would have lost " + wholePercent(answer.whole.percent * left) +
                   " instead of " + wholePercent(answer.whole.percent) + ".";
  finding.figures = {formatText("Full at %.0f mAh, when new %.0f mAh.", *now, *life.newCapacity)};
  return finding;
}

std::optional<Finding> weakCharger(const LogSummary& summary, const Answer&) {
  LogTime seconds = 0;
  double used = 0;
  LogTime from = 0;
  LogTime to = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.weakCharger * 2 < interval.seconds() || interval.seconds() == 0) continue;
    if (seconds == 0) from = interval.begin;
    to = interval.end;
    seconds += interval.seconds();
    used += interval.used;
  }
  if (seconds < kLongBusy || used < kLeastPercent) return std::nullopt;
  Finding finding{Kind::WeakCharger, used, "", "", {}, from, to, used};
  finding.sentence = "the charger was too weak: the level fell " + percentText(used) + " in the " +
                     duration(seconds) + " in which it was connected";
  finding.advice = "Use a charger, or a cable, for more power.";
  finding.figures = {"On the charger " + when(from, to) + ", " + percentText(used) + " were used."};
  return finding;
}

}  // namespace

std::string_view kindWord(Finding::Kind kind) {
  switch (kind) {
    case Kind::NeverSlept:
      return "never_slept";
    case Kind::WokenOften:
      return "woken_often";
    case Kind::ShallowSleep:
      return "shallow_sleep";
    case Kind::BusyProcess:
      return "busy_process";
    case Kind::Display:
      return "display";
    case Kind::WeakSignal:
      return "modem";
    case Kind::Heat:
      return "heat";
    case Kind::WornBattery:
      return "worn_battery";
    case Kind::WeakCharger:
      break;
  }
  return "weak_charger";
}

std::vector<Finding> findingsOf(const LogSummary& summary, const Answer& answer) {
  std::vector<Finding> findings = busyProcesses(summary, answer);
  for (const auto rule : {neverSlept, wokenOften, shallowSleep, brightDisplay, radio, heat,
                          wornBattery, weakCharger}) {
    if (auto finding = rule(summary, answer)) findings.push_back(std::move(*finding));
  }
  std::erase_if(findings, [](const Finding& finding) { return finding.weight < kLeastPercent; });
  std::ranges::stable_sort(findings, std::greater(), &Finding::weight);
  return findings;
}

std::vector<std::string> verdictOf(const LogSummary& summary, const Answer& answer) {
  const AccountSum& whole = answer.whole;
  double weak = 0;
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.weakCharger * 20 >= interval.seconds()) weak += std::max(0.0, interval.used);
  }
  const double used = std::max(0.0, whole.percent) + weak;
  if (!summary.firstLevel || (used < kLeastPercent && answer.findings.empty())) {
    return summary.firstLevel ? std::vector<std::string>{"The battery lost next to nothing."}
                              : std::vector<std::string>{};
  }
  const double fell = *summary.firstLevel - *summary.lastLevel;
  const std::string begin =
      (std::fabs(fell - used) < 1
           ? "The battery fell " + wholePercent(used) + ", from " +
                 wholePercent(*summary.firstLevel) + " to " + wholePercent(*summary.lastLevel) +
                 ", in "
           : "The device used " + wholePercent(used) + " of a full battery in ") +
      duration(whole.seconds + (weak > 0 ? summary.seconds(Lane::WeakCharger) : 0)) +
      (answer.charged > 0 ? " on battery" : "");
  std::vector<std::string> verdict;
  // What weighs little beside all that was used does not explain it.
  std::vector<const Finding*> large;
  for (const Finding& finding : answer.findings) {
    if (finding.weight >= kSpeaks * used && large.size() < 2) large.push_back(&finding);
  }
  if (large.empty()) {
    std::string rates;
    const auto add = [&](const Account::Charge& charge, const char* state) {
      const auto rate = charge.perHour();
      if (!rate || charge.seconds < 600) return;
      rates += (rates.empty() ? "" : ", ") + duration(charge.seconds) + " " + state + " at " +
               percentText(*rate) + " per hour";
    };
    add(answer.account.awake(), "awake");
    add(answer.account.asleep(), "asleep");
    verdict.push_back(begin + ", and nothing stands out" +
                      (rates.empty() ? "." : ": this is what the time costs here, " + rates + "."));
    std::string parts;
    for (const AccountPart& part : whole.parts) {
      if (part.cause == Cause::Unattributed || part.percent < kSpeaks * used) continue;
      parts += (parts.empty() ? "" : ", ") + causeText(part.cause, part.name) + " " +
               (part.measured ? "" : "about ") + wholePercent(part.percent);
    }
    if (!parts.empty()) verdict.push_back("The largest parts: " + parts + ".");
    return verdict;
  }
  const Finding& first = *large.front();
  const bool mostly = first.weight >= kMostly * used;
  verdict.push_back(
      begin +
      (mostly ? ", mostly because " + first.sentence : ". What stands out: " + first.sentence) +
      " (about " + wholePercent(first.percent) + " of the battery).");
  if (large.size() > 1) {
    verdict.push_back("Also, " + large[1]->sentence + " (about " + wholePercent(large[1]->percent) +
                      " of the battery).");
  }
  if (!first.advice.empty()) verdict.push_back(capitalized(first.advice));
  return verdict;
}

}  // namespace zorva

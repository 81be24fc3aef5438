// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "platform/base/Text.h"
#include "report/answer/FindingRules.h"
#include "report/format/Wording.h"

namespace zorva {
namespace findings {
namespace {

constexpr LogTime kLongBusy = 15 * LogTime{60};
constexpr double kBright = 0.7;  // of full brightness
constexpr double kModestlyBright = 0.4;
constexpr double kMuchOfAll = 0.3;  // a part of all that was used
constexpr double kWorn = 0.7;       // of the new battery's capacity
constexpr LogTime kLongHot = 20 * LogTime{60};
// How much of what a cause used at most it is taken to weigh: never a reason by itself.
constexpr double kOfWhatItIsAtMost = 0.3;

}  // namespace

using Kind = Finding::Kind;

std::string when(LogTime from, LogTime to) {
  return from / 86400 == to / 86400
             ? "from " + clockTime(from) + " to " + clockTime(to)
             : "from " + shortTime(from).substr(0, 12) + " to " + shortTime(to).substr(0, 12);
}

std::string shareText(double part, double whole) {
  return formatText("%.0f %%", whole > 0 ? 100 * part / whole : 0);
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
    // The log may not tell what processes cost: then it is at most what they came together with,
    // for the time in which this one was busy.
    const bool unknown = part == nullptr && together != nullptr &&
                         together->name.find("processes") != std::string::npos;
    if (unknown && all > 0) {
      percent = together->percent * use.seconds / all * static_cast<double>(use.time) /
                static_cast<double>(std::max<LogTime>(1, answer.whole.seconds));
    }
    if (percent < kLeastPercent) continue;
    Finding finding{Kind::BusyProcess,
                    percent,
                    "",
                    "",
                    {},
                    use.from,
                    use.to,
                    unknown ? percent * kOfWhatItIsAtMost : percent};
    finding.atMost = unknown;
    finding.sentence = name + " used " + shareText(use.busy, static_cast<double>(use.time)) +
                       " of a processor for " + duration(use.time) + ", " + when(use.from, use.to);
    finding.advice = "See what " + name + " does, and end or limit it if that is not wanted.";
    finding.figures = {
        "CPU time on battery: " + duration(static_cast<LogTime>(std::llround(use.seconds))) +
        " of " + duration(static_cast<LogTime>(std::llround(all))) + " of all processes."};
    if (unknown) {
      finding.figures.push_back(
          "The log does not tell its cost from that of other things: it is at most " +
          percentText(percent) + ".");
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
    if (interval.hot == 0 || !interval.onBattery()) continue;
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
  Finding finding{Kind::Heat, used, "", "",
                  {},         from, to, notCharged >= kLongHot ? used : beyond / 2};
  finding.sentence = "it was hot for " + duration(std::max(hot, notCharged));
  if (summary.hottestBattery) {
    finding.sentence += formatText(" (the battery up to %.0f C)", *summary.hottestBattery);
  }
  if (notCharged >= kLongHot) {
    finding.sentence += ", and too hot to be charged for " + duration(notCharged);
    finding.advice = "Let it cool down: until then it is not charged.";
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

}  // namespace findings

std::string_view kindWord(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::NeverSlept:
      return "never_slept";
    case Finding::Kind::WokenOften:
      return "woken_often";
    case Finding::Kind::ShallowSleep:
      return "shallow_sleep";
    case Finding::Kind::BusyProcess:
      return "busy_process";
    case Finding::Kind::Display:
      return "display";
    case Finding::Kind::WeakSignal:
      return "modem";
    case Finding::Kind::Heat:
      return "heat";
    case Finding::Kind::WornBattery:
      return "worn_battery";
    case Finding::Kind::WeakCharger:
      break;
  }
  return "weak_charger";
}

std::vector<Finding> findingsOf(const LogSummary& summary, const Answer& answer) {
  using namespace findings;
  std::vector<Finding> all = busyProcesses(summary, answer);
  for (const auto rule : {neverSlept, wokenOften, shallowSleep, brightDisplay, radio, heat,
                          wornBattery, weakCharger}) {
    if (auto finding = rule(summary, answer)) all.push_back(std::move(*finding));
  }
  const double used = usedInAll(summary, answer);
  for (Finding& finding : all) {
    finding.percent = std::min(finding.percent, used);
    finding.weight = std::min(finding.weight, finding.percent);
  }
  std::erase_if(all, [](const Finding& finding) { return !(finding.weight >= kLeastPercent); });
  std::ranges::stable_sort(all, std::greater(), &Finding::weight);
  return all;
}

}  // namespace zorva

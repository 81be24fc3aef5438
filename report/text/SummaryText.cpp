// SPDX-License-Identifier: Apache-2.0
#include "report/text/SummaryText.h"

#include <algorithm>
#include <cmath>

#include "platform/base/Text.h"

namespace zorva {
namespace {

using Align = TextPage::Align;
using Charge = Account::Charge;
using Row = TextPage::Row;
using Tally = LogSummary::Tally;

constexpr std::size_t kMaxRows = 10;
constexpr std::size_t kMaxDamagedLength = 100;  // bytes of a damaged line that are shown

std::string percent(double value) {
  return percentText(value);
}

std::string share(double part, double whole) {
  if (!(whole > 0)) return "";
  const double percent = 100 * part / whole;
  return percent > 0 && percent < 0.5 ? "<1 %" : formatText("%.0f %%", percent);
}

std::string share(LogTime part, LogTime whole) {
  return share(static_cast<double>(part), static_cast<double>(whole));
}

std::string left(std::size_t count) {
  return count > kMaxRows ? "And " + grouped(count - kMaxRows) + " more." : std::string();
}

// " (12.3 Wh, 5.2 W)"; empty where the log does not tell what a percent is.
std::string energy(const Answer& answer, double percent, LogTime seconds) {
  if (!answer.wattHoursPerPercent) return "";
  const double wattHours = percent * *answer.wattHoursPerPercent;
  std::string text = " (" + figure(wattHours) + " Wh";
  if (seconds >= 60) {
    text += ", " + figure(wattHours * 3600 / static_cast<double>(seconds)) + " W";
  }
  return text + ")";
}

std::string useSentence(const std::string& text, const Answer& answer, const Charge& charge) {
  const auto rate = charge.perHour();
  if (!rate) return text + "; the charge used is unknown.";
  const bool estimated = charge.error >= 0.1;
  return text + ", used " + (estimated ? "about " : "") + percent(charge.percent) +
         (estimated ? " (+- " + percent(charge.error) + ")" : "") + ", " + percent(*rate) +
         " per hour" + energy(answer, charge.percent, charge.seconds) + ".";
}

std::string gained(double value) {
  return (value >= 0 ? "gained " : "used ") + percent(std::fabs(value));
}

// Columns: a duration, its share, and two names.
const std::vector<TextPage::Column> kTimesAndNames = {
    {"", Align::Right}, {"", Align::Right}, {"", Align::Left, true}, {"", Align::Left, true}};

class Writer {
 public:
  Writer(const LogSummary& summary, const Answer& answer, const LogReading& reading,
         const TextStyle& style, bool why)
      : summary_(summary), answer_(answer), reading_(reading), page_(style), why_(why) {}

  std::string write() {
    std::string names;
    for (std::size_t i = 0; i < std::min<std::size_t>(reading_.files.size(), 3); ++i) {
      names += (i > 0 ? ", " : "") + reading_.files[i];
    }
    if (reading_.files.size() > 3) names += formatText(" and %zu more", reading_.files.size() - 3);
    page_.heading(names);
    if (summary_.isEmpty()) {
      page_.sentence(std::string("There is no entry") +
                     (reading_.counts.entries == 0 ? "." : " in that period."));
    } else {
      page_.sentence(dayAndTime(summary_.first) + " to " + dayAndTime(summary_.last) + ": " +
                     duration(summary_.covered) + ", " +
                     counted(summary_.entries, "entry", "entries") + ".");
      verdict();
      battery();
      account();
      stretches();
      refusals();
      sleeps();
      wakes();
      holders();
      processes();
      use();
      radio();
      errors();
    }
    condition();
    return page_.take();
  }

 private:
  // What is told first, and with --why what it is concluded from.
  void verdict() {
    if (answer_.verdict.empty()) return;
    page_.heading("Answer");
    for (const std::string& sentence : answer_.verdict) page_.sentence(sentence);
    if (!why_) return;
    for (const Finding& finding : answer_.findings) {
      page_.heading("Why: " + finding.sentence);
      page_.sentence("It explains " + percent(finding.percent) + ", of which " +
                     percent(finding.weight) + " are beyond the usual.");
      for (const std::string& figure : finding.figures) page_.sentence(figure);
      if (!finding.advice.empty()) page_.sentence(finding.advice);
    }
  }

  void battery() {
    if (!summary_.firstLevel) return;
    page_.heading("Battery");
    for (const std::string& sentence : batterySentences(summary_, answer_)) {
      page_.sentence(sentence);
    }
  }

  void account() {
    const AccountSum& whole = answer_.whole;
    if (whole.parts.size() < 2 || !(whole.percent > 0)) return;
    page_.heading("What used it, on battery");
    std::vector<Row> rows;
    const auto add = [&](const std::string& name, double used, const std::string& basis) {
      rows.push_back(
          {percent(used),
           answer_.wattHoursPerPercent ? figure(used * *answer_.wattHoursPerPercent) + " Wh" : "",
           share(used, whole.percent), name, basis});
    };
    std::size_t left = 0;
    double leftPercent = 0;
    bool uncertain = false;
    for (const AccountPart& part : whole.parts) {
      if (part.cause != Cause::Unattributed && (rows.size() == kMaxRows || part.percent < 0.05)) {
        ++left;
        leftPercent += part.percent;
        continue;
      }
      if (part.cause == Cause::Unattributed && left > 0) {
        add(grouped(left) + " more", leftPercent, "");
      }
      add(causeText(part.cause, part.name), part.percent, basisText(part));
      uncertain = uncertain || part.uncertain;
    }
    page_.table({{"used", Align::Right},
                 {"", Align::Right},
                 {"share", Align::Right},
                 {"by", Align::Left, true},
                 {""}},
                rows);
    if (uncertain) page_.sentence(kUncertainNote);
  }

  void stretches() {
    if (answer_.stretches.empty()) return;
    page_.heading("Faster than usual");
    std::vector<Row> rows;
    for (const Stretch& stretch : answer_.stretches) {
      std::string parts;
      for (const AccountPart& part : stretch.parts) {
        if (part.percent < stretch.used / 10) continue;
        parts += (parts.empty() ? "" : ", ") + causeText(part.cause, part.name) + " " +
                 percent(part.percent);
      }
      rows.push_back(
          {shortTime(stretch.begin), duration(stretch.end - stretch.begin), percent(stretch.used),
           "x " + figure(stretch.times),
           (stretch.asleep * 2 > stretch.end - stretch.begin ? "asleep; " : "") + parts});
    }
    page_.table({{"from"},
                 {"for", Align::Right},
                 {"used", Align::Right},
                 {"usual", Align::Right},
                 {"", Align::Left, true}},
                rows);
  }

  void refusals() {
    if (summary_.refusalCount == 0) return;
    page_.heading("Sleeps that were refused or failed");
    std::vector<Row> rows;
    for (const LogSummary::Refusal& refusal : summary_.refusals) {
      if (rows.size() == kMaxRows) break;
      std::string failed = refusal.device;
      if (!refusal.step.empty()) failed += (failed.empty() ? "" : ", ") + refusal.step;
      rows.push_back({shortTime(refusal.time),
                      refusal.holder.empty() ? "" : "held by " + refusal.holder, failed});
    }
    page_.table({{""}, {"", Align::Left, true}, {"", Align::Left, true}}, rows);
    page_.sentence(left(summary_.refusalCount));
  }

  void sleeps() {
    const auto& sleeps = summary_.longestSleeps;
    if (sleeps.empty()) return;
    page_.heading("Sleeps");
    std::vector<Row> rows;
    LogTime shown = 0;
    for (const LogSummary::Sleep& sleep : sleeps) {
      shown += sleep.end - sleep.begin;
      std::string ended = endOfSleep(sleep);
      if (!sleep.owner.empty()) {
        ended +=
            " for " + sleep.owner + formatText(" (%lld)", static_cast<long long>(sleep.ownerPid));
      }
      const Charge used = answer_.account.asleep(sleep.begin, sleep.end);
      const bool known = used.seconds * 10 >= (sleep.end - sleep.begin) * 9;
      const auto wattHours = answer_.wattHoursPerPercent;
      rows.push_back(
          {shortTime(sleep.begin), duration(sleep.end - sleep.begin),
           known ? percent(used.percent) : "",
           known && wattHours ? figure(used.percent * *wattHours) + " Wh" : "",
           known && wattHours && used.seconds >= 60
               ? figure(used.percent * *wattHours * 3600 / static_cast<double>(used.seconds)) + " W"
               : "",
           sleep.hardware
               ? share(std::min(*sleep.hardware, sleep.end - sleep.begin), sleep.end - sleep.begin)
               : "",
           ended});
    }
    page_.table({{"from"},
                 {"for", Align::Right},
                 {"used", Align::Right},
                 {"", Align::Right},
                 {"", Align::Right},
                 {"deep", Align::Right},
                 {"ended by", Align::Left, true}},
                rows);
    const bool deep = std::ranges::any_of(sleeps, [](const auto& each) { return !!each.hardware; });
    if (deep) page_.sentence(kDeepNote);
    if (summary_.sleeps > sleeps.size()) {
      page_.sentence("The longest; " + grouped(summary_.sleeps - sleeps.size()) + " others took " +
                     duration(summary_.asleepSeconds - shown) + ".");
    }
  }

  void wakes() {
    if (summary_.wakes == 0) return;
    page_.heading("Wakes");
    const double hours = static_cast<double>(summary_.covered) / 3600;
    page_.sentence(counted(summary_.wakes, "wake", "wakes") +
                   (hours > 0
                        ? ", " + figure(static_cast<double>(summary_.wakes) / hours) + " per hour."
                        : "."));
    tallies("reason", summary_.wakeReasons);
    if (!summary_.wakeOwners.empty()) tallies("by the modem for", summary_.wakeOwners);
  }

  void tallies(std::string_view title, const std::vector<Tally>& tallies) {
    std::vector<Row> rows;
    for (const Tally& tally : tallies) {
      if (rows.size() == kMaxRows) break;
      rows.push_back(
          {grouped(tally.count),
           share(static_cast<LogTime>(tally.count), static_cast<LogTime>(summary_.wakes)),
           tally.name});
    }
    page_.table({{"wakes", Align::Right}, {"", Align::Right}, {title, Align::Left, true}}, rows);
    page_.sentence(left(tallies.size()));
  }

  void holders() {
    const std::vector<Tally> holders = holdersByTimeAwake(summary_);
    if (holders.empty()) return;
    page_.heading("Kept awake by");
    std::vector<Row> rows;
    bool refused = false;
    std::size_t left = 0;
    LogTime longest = 0;  // of these
    for (const Tally& holder : holders) {
      // Below a hundredth of the first, and without a part in refusals, they are only counted.
      const bool little = holder.awake * 100 < holders.front().awake && holder.refused == 0;
      if (rows.size() == kMaxRows || little) {
        ++left;
        longest = std::max(longest, holder.awake);
        continue;
      }
      refused = refused || holder.refused > 0;
      rows.push_back({duration(holder.awake), share(holder.awake, summary_.covered),
                      duration(holder.seconds), grouped(holder.count),
                      holder.refused > 0 ? grouped(holder.refused) : "", holder.name,
                      holder.detail + (holder.goesOn ? " (still)" : "")});
    }
    page_.table({{"awake", Align::Right},
                 {"", Align::Right},
                 {"held", Align::Right},
                 {"times", Align::Right},
                 {"refused", Align::Right},
                 {"process", Align::Left, true},
                 {"assertion", Align::Left, true}},
                rows);
    if (left > 0) {
      page_.sentence("And " + grouped(left) + " more, awake for " + duration(longest) +
                     (left > 1 ? " or less." : "."));
    }
    if (refused) page_.sentence(kRefusedNote);
  }

  void processes() {
    if (summary_.processes.empty()) return;
    page_.heading("CPU time");
    std::vector<Row> rows;
    std::int64_t all = 0;
    for (const auto& [name, seconds] : summary_.processes) all += seconds;
    for (const auto& [name, seconds] : summary_.processes) {
      if (rows.size() == kMaxRows) break;
      rows.push_back({duration(seconds), share(seconds, all), name});
    }
    page_.sentence(duration(all) + " in the " + duration(summary_.processSeconds) +
                   " between lists of processes.");
    page_.table({{"used", Align::Right}, {"", Align::Right}, {"process", Align::Left, true}}, rows);
    page_.sentence(left(summary_.processes.size()));
  }

  void use() {
    struct State {
      Lane lane;
      const char* name;
    };
    static constexpr State kStates[] = {
        {Lane::Display, "display lit"}, {Lane::Audio, "audio"},  {Lane::Call, "call"},
        {Lane::Data, "mobile data"},    {Lane::WiFi, "Wi-Fi"},   {Lane::Bluetooth, "Bluetooth"},
        {Lane::Location, "location"},   {Lane::Application, ""}, {Lane::Thermal, "heat, level"}};
    std::vector<Row> rows;
    for (const auto& [lane, name] : kStates) {
      std::size_t shown = 0;
      for (const Tally& tally : summary_.lane(lane)) {
        if (shown++ == kMaxRows / 2) break;
        rows.push_back({duration(tally.seconds), share(tally.seconds, summary_.covered),
                        lane == Lane::Application ? tally.name : name, tally.detail});
      }
    }
    if (rows.empty()) return;
    page_.heading("In use");
    page_.table(kTimesAndNames, rows);
  }

  void radio() {
    const auto& networks = summary_.lane(Lane::Registered);
    if (!summary_.traffic && !summary_.weakestSignal && networks.empty()) return;
    page_.heading("Radio and traffic");
    if (summary_.traffic) {
      page_.sentence("Received " + byteCount(summary_.received) + ", sent " +
                     byteCount(summary_.sent) + ".");
    }
    if (summary_.weakestSignal) {
      const double weakest = *summary_.weakestSignal;
      const double strongest = *summary_.strongestSignal;
      page_.sentence(weakest == strongest
                         ? formatText("Signal %.0f dBm.", weakest)
                         : formatText("Signal between %.0f and %.0f dBm.", weakest, strongest));
    }
    std::int64_t all = 0;
    for (const auto& [state, milliseconds] : summary_.modem) all += milliseconds;
    std::string modem;
    for (const auto& [state, milliseconds] : summary_.modem) {
      modem += (modem.empty() ? "" : ", ") + duration(milliseconds / 1000) + " " + state + " (" +
               share(milliseconds, all) + ")";
    }
    if (!modem.empty()) page_.sentence("The modem: " + modem + ".");
    std::vector<Row> rows;
    for (const Tally& tally : networks) {
      if (rows.size() == kMaxRows) break;
      rows.push_back({duration(tally.seconds), share(tally.seconds, summary_.covered), tally.name,
                      tally.detail});
    }
    page_.table(kTimesAndNames, rows);
  }

  void errors() {
    if (summary_.errorCount == 0) return;
    page_.heading("Errors");
    std::vector<Row> rows;
    for (const LogSummary::Error& error : summary_.errors) {
      rows.push_back({shortTime(error.first), grouped(error.count), error.text});
    }
    page_.table({{"first"}, {"times", Align::Right}, {"", Align::Left, true}}, rows);
    std::uint64_t shown = 0;
    for (const LogSummary::Error& error : summary_.errors) shown += error.count;
    if (shown < summary_.errorCount) {
      page_.sentence("And " + grouped(summary_.errorCount - shown) + " of other kinds.");
    }
  }

  // The state of the log itself.
  void condition() {
    const std::uint64_t damaged = reading_.counts.damaged;
    if (summary_.interruptionCount == 0 && damaged == 0) return;
    page_.heading("The log itself");
    for (const auto& [before, after] : summary_.interruptions) {
      page_.sentence(after < before
                         ? "The time went back by " + duration(before - after) + ", from " +
                               shortTime(before) + " to " + shortTime(after) +
                               ": the clock was set, the zone changed, or another log began."
                         : "Nothing was logged from " + shortTime(before) + " to " +
                               shortTime(after) + ", " + duration(after - before) + ".");
    }
    if (summary_.interruptionCount > summary_.interruptions.size()) {
      page_.sentence("And " +
                     counted(summary_.interruptionCount - summary_.interruptions.size(),
                             "more interruption", "more interruptions") +
                     ".");
    }
    if (damaged == 0) return;
    page_.sentence(counted(damaged, "line is", "lines are") + " damaged or foreign, and left out:");
    std::vector<Row> rows;
    for (const DamagedLine& line : reading_.damaged) {
      rows.push_back({line.file + ":" + std::to_string(line.line), line.text});
    }
    page_.table({{"", Align::Left, true}, {"", Align::Left, true}}, rows);
    if (damaged > reading_.damaged.size()) page_.sentence("Further lines are not shown.");
  }

  const LogSummary& summary_;
  const Answer& answer_;
  const LogReading& reading_;
  TextPage page_;
  bool why_;
};

}  // namespace

void LogReading::note(const LogRecord& record, const std::string& file) {
  if (record.piece != LogPiece::Damaged || damaged.size() == kMaxDamagedShown) return;
  damaged.push_back(
      {file, record.line, std::string(trimmed(record.raw.substr(0, kMaxDamagedLength)))});
}

std::vector<Tally> holdersByTimeAwake(const LogSummary& summary) {
  std::vector<Tally> holders = summary.lane(Lane::Assertion);
  std::ranges::stable_sort(holders, std::greater(), [](const Tally& holder) {
    return std::pair(holder.awake, holder.refused);
  });
  return holders;
}

std::string endOfSleep(const LogSummary::Sleep& sleep) {
  if (sleep.goesOn) return "continues";
  if (!sleep.endKnown) return "its end is not in the log";
  return sleep.reason + (sleep.decoded.empty() ? "" : ": " + sleep.decoded);
}

std::string basisText(const AccountPart& part) {
  if (part.cause == Cause::Unattributed) return "";
  std::string text = part.measured ? "measured" : "estimated";
  if (part.error >= 0.05) text += ", +- " + percent(part.error);
  return text + (part.uncertain ? ", uncertain" : "");
}

std::vector<std::string> batterySentences(const LogSummary& summary, const Answer& answer) {
  if (!summary.firstLevel) return {};
  std::vector<std::string> sentences;
  const AccountSum& whole = answer.whole;
  std::string level =
      "The level went from " + percent(*summary.firstLevel) + " to " + percent(*summary.lastLevel);
  if (whole.seconds > 0) {
    level += "; " + percent(whole.percent) + " were used in " + duration(whole.seconds) +
             " on battery" + energy(answer, whole.percent, whole.seconds);
  }
  sentences.push_back(level + ".");
  if (summary.sleeps > 0) {
    std::string slept = "Slept " + duration(summary.asleepSeconds) + " in " +
                        counted(summary.sleeps, "sleep", "sleeps");
    if (summary.asleepOnCharger > 0) {
      slept += " (" + duration(summary.asleepOnCharger) + " on a charger)";
    }
    sentences.push_back(useSentence(slept, answer, answer.account.asleep()));
  }
  const LogTime charged = summary.seconds(Lane::Charging);
  const LogTime awake = summary.awakeOnBattery();
  if (awake > 0) {
    sentences.push_back(
        useSentence((charged > 0 ? "Awake and not charged " : "Awake ") + duration(awake), answer,
                    answer.account.awake()));
  }
  if (const Charge mixed = answer.account.mixed(); mixed.seconds > 0) {
    sentences.push_back("Awake and asleep in turn: " + percent(mixed.percent) + " in " +
                        duration(mixed.seconds) +
                        ". The level was read too rarely to separate the two.");
  }
  if (charged > 0) {
    sentences.push_back("On a charger " + duration(charged) +
                        (answer.charged > 0 ? ", " + gained(answer.gained) + "."
                                            : "; the charge gained is unknown."));
  }
  if (std::fabs(summary.interrupted) >= 0.05) {
    sentences.push_back("While the log was interrupted: " + gained(-summary.interrupted) + ".");
  }
  return sentences;
}

std::string summaryText(const LogSummary& summary, const Answer& answer, const LogReading& reading,
                        const TextStyle& style, bool why) {
  return Writer(summary, answer, reading, style, why).write();
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/answer/Account.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace zorva {
namespace {

// Percent by which one reading of the level may be off.
constexpr double kFineReading = 0.05;   // with a fraction
constexpr double kWholeReading = 0.15;  // a whole percent, reported when it is reached
// Percent by which readings may go up on battery.
constexpr double kGained = 2;
// By what share what a few minutes used may differ from what is learned.
constexpr double kFewMinutes = 0.25;
// What may be off by more than this share, and by more than kTiny percent, is marked as uncertain.
constexpr double kUncertain = 0.1;

constexpr const char* kOthers = "other processes";
// Of the model's columns.
constexpr Cause kCauses[CostModel::kColumns] = {Cause::Asleep,  Cause::Awake, Cause::Display,
                                                Cause::Process, Cause::Wifi,  Cause::Modem,
                                                Cause::Call,    Cause::Audio};

}  // namespace

std::optional<double> Account::Charge::perHour() const {
  if (seconds < 60) return std::nullopt;
  return percent * 3600 / static_cast<double>(seconds);
}

const AccountPart* AccountSum::find(Cause cause, std::optional<std::string_view> name) const {
  for (const AccountPart& part : parts) {
    if (part.cause == cause && (!name || part.name == *name)) return &part;
  }
  return nullptr;
}

Account::Account(const LogSummary& summary) : summary_(&summary) {
  bool whole = true;
  std::vector<const PowerInterval*> onBattery;
  for (const PowerInterval& interval : summary.intervals) {
    // Whole percents gained are from a charger of which the log says nothing.
    const bool counts = interval.onBattery() && interval.seconds() > 0 && interval.used > -kGained;
    if (counts) onBattery.push_back(&interval);
    whole = whole && std::fabs(interval.used - std::round(interval.used)) < 0.005;
  }
  reading_ = std::sqrt(2.0) * (whole ? kWholeReading : kFineReading);
  const CostModel model(onBattery, reading_, summary.wattHoursPerPercent());
  model_ = &model;
  nameGroups();
  double readings = 0;
  for (const PowerInterval* interval : onBattery) addLine(*interval, readings);
  limitSleep(readings);
  summary_ = nullptr;
  model_ = nullptr;
}

std::uint32_t Account::partOf(Cause cause, std::string_view name) {
  const auto found = std::ranges::find_if(
      names_, [&](const Name& known) { return known.cause == cause && known.name == name; });
  if (found != names_.end()) return static_cast<std::uint32_t>(found - names_.begin());
  const bool measured = model_->counted() && (cause == Cause::Processor || cause == Cause::Process);
  names_.push_back({cause, std::string(name), measured});
  return static_cast<std::uint32_t>(names_.size() - 1);
}

void Account::addProcesses(const PowerInterval& interval, double percent, double error,
                           Line& line) {
  const double all = interval.likelyCpu();
  if (!(all > 0)) return;
  double rest = interval.cpu;
  const auto add = [&](std::string_view name, double seconds) {
    const double share = seconds / all;
    line.entries.push_back({partOf(Cause::Process, name), percent * share, error * share,
                            static_cast<LogTime>(std::llround(seconds))});
  };
  for (const auto& [name, seconds] : interval.busiest) {
    const double used = static_cast<double>(seconds);
    rest -= used;
    add(summary_->names[name], used);
  }
  if (rest > 0.05 * interval.cpu || rest > 1) add(kOthers, rest);
  // After its last list a process used between nothing and as much as before.
  for (const auto& [name, seconds] : interval.unseen) {
    const double half = percent * static_cast<double>(seconds) / 2 / all;
    line.entries.push_back({partOf(Cause::Process, summary_->names[name]), half, half, 0});
  }
}

void Account::nameGroups() {
  together_.resize(CostModel::kColumns);
  for (std::size_t i = 0; i < CostModel::kColumns; ++i) {
    if (!model_->has(i)) continue;
    std::string& text = together_[model_->group(i)];
    text += (text.empty() ? "" : ", ") + std::string(causeWord(kCauses[i])) +
            (i == CostModel::kCpu ? "es" : "");
  }
}

void Account::addLine(const PowerInterval& interval, double& readings) {
  Line& line = lines_.emplace_back();
  line.begin = interval.begin;
  line.end = interval.end;
  line.used = interval.used;
  if (const auto processors = model_->processors(interval)) {
    // The readings of counters and CPU times are some milliseconds apart.
    addProcesses(interval, processors->busy,
                 std::hypot(processors->error, CostModel::kSpread * processors->busy), line);
    if (processors->idle > 0) {
      line.entries.push_back({partOf(Cause::Processor, ""), processors->idle,
                              std::hypot(processors->error, CostModel::kSpread * processors->idle),
                              interval.awake()});
    }
  }
  const std::vector<double> values = CostModel::valuesOf(interval);
  for (std::size_t i = CostModel::kAwake; model_->known() && i < CostModel::kColumns; ++i) {
    if (!model_->has(i) || values[i] <= 0) continue;
    const double percent = model_->cost(i) * values[i];
    const double error = std::hypot(model_->error(i, values[i]), model_->scatter() * percent);
    const bool traffic = i == CostModel::kWifi || i == CostModel::kModem;
    const LogTime seconds = i == CostModel::kDisplay ? interval.lit
                            : traffic                ? 0
                                      : static_cast<LogTime>(std::llround(values[i]));
    if (!model_->alone(i)) {
      const std::size_t group = model_->group(i);
      line.entries.push_back({partOf(Cause::Together, together_[group]), percent,
                              model_->groupError(group) * percent,
                              i == CostModel::kAwake ? seconds : 0});
    } else if (i == CostModel::kCpu) {
      addProcesses(interval, percent, error, line);
    } else {
      line.entries.push_back({partOf(kCauses[i], ""), percent, error, seconds});
    }
  }
  addSleep(interval, line, readings);
}

// A sleep uses no less than nothing, but the level may go up in one by what the one before it
// seems to have used: in all, sleeps use no more than there was.
void Account::limitSleep(double readings) {
  const double whole = std::max(0.0, asleep_.percent + awake_.percent);
  if (asleep_.percent > whole) {
    const double share = whole / asleep_.percent;
    for (Line& line : lines_) line.asleep.percent *= share;
    awake_.percent += asleep_.percent - whole;
    asleep_.error += asleep_.percent - whole;
    asleep_.percent = whole;
  }
  asleep_.error = std::hypot(asleep_.error, std::sqrt(readings));
  asleep_.error = std::min(asleep_.error, std::max(whole, CostModel::kTiny));
  awake_.error = asleep_.error;
}

// What an interval used while asleep is what the awake part of it leaves.
void Account::addSleep(const PowerInterval& interval, Line& line, double& readings) {
  const auto mixIn = [](Charge& charge, double percent, LogTime seconds) {
    charge.percent += percent;
    charge.seconds += seconds;
  };
  if (interval.asleep == 0) return mixIn(awake_, interval.used, interval.seconds());
  const bool pure = interval.awake() * 100 <= interval.seconds();
  if (!model_->known() && !pure) return mixIn(mixed_, interval.used, interval.seconds());
  double others = 0;
  for (const Entry& entry : line.entries) others += entry.percent;
  double percent = interval.used;
  double error = 0;
  if (interval.asleep * 2 >= interval.seconds()) {
    percent = std::clamp(interval.used - others, 0.0, std::max(0.0, interval.used));
    // The minutes before and after a sleep are few, and may be unlike the others.
    error = std::max(CostModel::kErrors * model_->scatter(), kFewMinutes) * others;
    readings += reading_ * reading_;
  } else {
    const auto seconds = static_cast<double>(interval.asleep);
    percent = std::min(model_->cost(CostModel::kAsleep) * seconds, std::max(0.0, interval.used));
    error = model_->error(CostModel::kAsleep, seconds);
  }
  line.asleep = {percent, std::hypot(error, reading_), interval.asleep};
  line.entries.push_back({partOf(Cause::Asleep, ""), percent, error, interval.asleep});
  mixIn(asleep_, percent, interval.asleep);
  asleep_.error += error;
  mixIn(awake_, interval.used - percent, interval.awake());
}

AccountSum Account::whole() const {
  return over(std::numeric_limits<LogTime>::min(), std::numeric_limits<LogTime>::max());
}

AccountSum Account::over(LogTime from, LogTime to) const {
  AccountSum sum;
  std::vector<AccountPart> parts;
  for (const Name& name : names_) {
    parts.push_back({name.cause, name.name, 0, 0, name.measured, false, 0});
  }
  for (const Line& line : lines_) {
    const LogTime common = std::min(line.end, to) - std::max(line.begin, from);
    if (common <= 0) continue;
    const double share = static_cast<double>(common) / static_cast<double>(line.end - line.begin);
    sum.seconds += common;
    sum.percent += share * line.used;
    for (const Entry& entry : line.entries) {
      AccountPart& part = parts[entry.part];
      part.percent += share * entry.percent;
      part.error += share * entry.error;
      part.seconds +=
          static_cast<LogTime>(std::llround(share * static_cast<double>(entry.seconds)));
    }
  }
  std::erase_if(parts, [](const AccountPart& part) { return !(part.percent > 0); });
  // Nothing exceeds its total: first the estimates give way, then the energy counters, whose
  // joules are percent only by the battery's capacity.
  double measured = 0;
  double estimated = 0;
  for (const AccountPart& part : parts) (part.measured ? measured : estimated) += part.percent;
  const double whole = std::max(0.0, sum.percent);
  const double forMeasured = measured > whole ? whole / measured : 1;
  const double left = whole - measured * forMeasured;
  const double forEstimated = estimated > left ? left / estimated : 1;
  double attributed = 0;
  for (AccountPart& part : parts) {
    const double factor = part.measured ? forMeasured : forEstimated;
    part.error += part.percent * (1 - factor);
    part.percent *= factor;
    part.uncertain = part.error > kUncertain * part.percent && part.error > CostModel::kTiny;
    attributed += part.percent;
  }
  std::ranges::stable_sort(parts, std::greater(), &AccountPart::percent);
  parts.push_back({Cause::Unattributed, "", whole - attributed, 0, false, false, 0});
  sum.parts = std::move(parts);
  return sum;
}

Account::Charge Account::asleep(LogTime from, LogTime to) const {
  Charge sum;
  double squares = 0;
  for (const Line& line : lines_) {
    const LogTime common = std::min(line.end, to) - std::max(line.begin, from);
    if (common <= 0 || line.asleep.seconds == 0) continue;
    // Of the interval's sleep, so much can be in these times.
    const LogTime seconds = std::min(common, line.asleep.seconds);
    const double share = static_cast<double>(seconds) / static_cast<double>(line.asleep.seconds);
    sum.percent += share * line.asleep.percent;
    squares += share * share * line.asleep.error * line.asleep.error;
    sum.seconds += seconds;
  }
  sum.error = std::sqrt(squares);
  return sum;
}

std::vector<Account::Interval> Account::intervals() const {
  std::vector<Interval> all;
  for (const Line& line : lines_) {
    Interval& interval = all.emplace_back(Interval{line.begin, line.end, line.used, {}});
    for (const Entry& entry : line.entries) {
      if (entry.percent > 0) interval.parts.emplace_back(entry.part, entry.percent);
    }
  }
  return all;
}

std::string_view causeWord(Cause cause) {
  switch (cause) {
    case Cause::Asleep:
      return "asleep";
    case Cause::Awake:
      return "awake";
    case Cause::Display:
      return "display";
    case Cause::Processor:
      return "processor";
    case Cause::Process:
      return "process";
    case Cause::Wifi:
      return "wifi";
    case Cause::Modem:
      return "modem";
    case Cause::Call:
      return "call";
    case Cause::Audio:
      return "audio";
    case Cause::Together:
      return "together";
    case Cause::Unattributed:
      break;
  }
  return "unattributed";
}

std::string causeText(Cause cause, std::string_view name) {
  switch (cause) {
    case Cause::Asleep:
      return "asleep";
    case Cause::Awake:
      return "being awake, whatever is in use";
    case Cause::Display:
      return "display";
    case Cause::Processor:
      return "processors, idle";
    case Cause::Process:
      return std::string(name);
    case Cause::Wifi:
      return "network traffic";
    case Cause::Modem:
      return "mobile traffic";
    case Cause::Call:
      return "calls";
    case Cause::Audio:
      return "audio";
    case Cause::Together:
      return "together: " + std::string(name);
    case Cause::Unattributed:
      break;
  }
  return "unattributed";
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/answer/Account.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <string_view>

namespace zorva {
namespace {

// Percent by which one reading of the level may be off.
constexpr double kFineReading = 0.05;   // with a fraction
constexpr double kWholeReading = 0.15;  // a whole percent, reported when it is reached
// By what share of what an interval used the learned costs may miss it for no reason that is seen.
constexpr double kSpread = 0.03;
// Percent by which readings may go up on battery.
constexpr double kGained = 2;
// Shorter intervals teach nothing.
constexpr LogTime kShortest = 20;
// For each thing to be learned, so many intervals at least.
constexpr std::size_t kIntervalsPerColumn = 3;
// Joules by which a processor's counter may be off from the moment of the reading.
constexpr double kJoules = 2;
// Readings are taken to be at least so much of what they may be off.
constexpr double kLeastMisfit = 0.25;
// By what share what a few minutes used may differ from what is learned.
constexpr double kFewMinutes = 0.25;
// Two standard errors: 95 of 100 are nearer.
constexpr double kErrors = 2;
// What may be off by more than this share and by more than kTiny percent is not told apart from
// others, or if there is none with which it comes together, marked as uncertain.
constexpr double kTooUncertain = 0.3;
constexpr double kUncertain = 0.1;
constexpr double kTiny = 0.5;

constexpr const char* kOthers = "other processes";

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

std::vector<double> Account::valuesOf(const PowerInterval& interval) {
  std::vector<double> values(kColumns);
  values[kAsleep] = static_cast<double>(interval.asleep);
  values[kAwake] = static_cast<double>(interval.awake());
  values[kDisplay] = interval.brightness;
  values[kCpu] = interval.cpuKnown ? interval.cpu : 0;
  values[kWifi] = interval.wifiBytes / 1e6;
  values[kModem] = interval.modemBytes / 1e6;
  values[kCall] = static_cast<double>(interval.call);
  values[kAudio] = static_cast<double>(interval.audio);
  return values;
}

Account::Account(const LogSummary& summary) : summary_(&summary) {
  bool whole = true;
  for (const PowerInterval& interval : summary.intervals) {
    // Whole percents gained are from a charger of which the log says nothing.
    const bool counts = interval.onBattery() && interval.seconds() > 0 && interval.used > -kGained;
    if (counts) onBattery_.push_back(&interval);
    whole = whole && std::fabs(interval.used - std::round(interval.used)) < 0.005;
  }
  reading_ = std::sqrt(2.0) * (whole ? kWholeReading : kFineReading);
  if (const auto wattHours = summary.wattHoursPerPercent()) {
    percentPerJoule_ = 1 / (3600 * *wattHours);
    learnProcessors();
  }
  learn();
  makeLines();
  summary_ = nullptr;
  onBattery_.clear();
}

// What the processors use while awake, and what a CPU second adds.
void Account::learnProcessors() {
  std::vector<Observation> observations;
  LogTime counted = 0;
  LogTime all = 0;
  for (const PowerInterval* interval : onBattery_) {
    all += interval->awake();
    if (!interval->joules || !interval->cpuKnown) continue;
    counted += interval->awake();
    observations.push_back({{static_cast<double>(interval->awake()), interval->cpu},
                            *interval->joules,
                            kJoules + kSpread * *interval->joules});
  }
  // All of the log, or nearly: otherwise the parts of different stretches could not be compared.
  if (observations.size() < 2 * kIntervalsPerColumn || counted * 10 < all * 9) return;
  processors_ = leastSquares(observations, 2);
}

void Account::learn() {
  std::vector<double> sums(kColumns);
  LogTime cpuKnown = 0;
  LogTime all = 0;
  for (const PowerInterval* interval : onBattery_) {
    const std::vector<double> values = valuesOf(*interval);
    for (std::size_t i = 0; i < kColumns; ++i) sums[i] += values[i];
    all += interval->seconds();
    if (interval->cpuKnown) cpuKnown += interval->seconds();
  }
  for (std::size_t i = 0; i < kColumns; ++i) learned_[i] = sums[i] > 0;
  const bool byCpu = !processors_ && cpuKnown * 10 >= all * 8;
  if (!byCpu) learned_[kCpu] = false;
  std::vector<const PowerInterval*> teachers;
  for (const PowerInterval* interval : onBattery_) {
    if (interval->seconds() < kShortest) continue;
    if ((byCpu && !interval->cpuKnown) || (processors_ && !interval->joules)) continue;
    teachers.push_back(interval);
  }
  // What is least used is not learned where there are too few intervals for all.
  const auto count = [&] { return static_cast<std::size_t>(std::ranges::count(learned_, true)); };
  for (const Column column : {kAudio, kCall, kModem, kWifi, kDisplay, kCpu}) {
    if (teachers.size() < kIntervalsPerColumn * count() + 1) learned_[column] = false;
  }
  group_.resize(kColumns);
  std::iota(group_.begin(), group_.end(), 0);
  known_ = !teachers.empty() && teachers.size() >= count();
  if (!known_) return;
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (learned_[i]) columns.push_back(i);
  }
  std::vector<Observation> observations;
  for (const PowerInterval* interval : teachers) {
    const std::vector<double> values = valuesOf(*interval);
    Observation& observation = observations.emplace_back();
    for (const std::size_t column : columns) observation.values.push_back(values[column]);
    observation.target = interval->used;
    if (processors_) observation.target -= *percentPerJoule_ * *interval->joules;
    observation.error = std::hypot(reading_, kSpread * interval->used);
  }
  const LeastSquares part = leastSquares(observations, columns.size());
  // How well the intervals agree tells how good the readings are, down to a limit.
  const double least = std::max(1.0, kLeastMisfit / std::max(part.misfit, 1e-6));
  fit_.coefficients.assign(kColumns, 0);
  fit_.covariance.assign(std::size_t{kColumns} * kColumns, 0);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    fit_.coefficients[columns[i]] = part.coefficients[i];
    for (std::size_t k = 0; k < columns.size(); ++k) {
      fit_.covariance[columns[i] * kColumns + columns[k]] = part.covarianceOf(i, k) * least * least;
    }
  }
  double missed = 0;
  double used = 0;
  for (std::size_t i = 0; i < teachers.size(); ++i) {
    double left = observations[i].target;
    for (std::size_t k = 0; k < columns.size(); ++k) {
      left -= part.coefficients[k] * observations[i].values[k];
    }
    missed += std::fabs(left);
    used += std::fabs(observations[i].target);
  }
  scatter_ = used > 0 ? std::max(kSpread, missed / used) : kSpread;
  if (teachers.size() < kIntervalsPerColumn * count()) scatter_ = std::max(scatter_, 0.3);
  keepApart();
}

double Account::groupCovariance(const std::vector<double>& sums, std::size_t one,
                                std::size_t other) const {
  double sum = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    for (std::size_t k = 0; k < kColumns; ++k) {
      if (group_[i] != one || group_[k] != other) continue;
      sum += fit_.covarianceOf(i, k) * sums[i] * sums[k];
    }
  }
  return sum;
}

double Account::groupPercent(const std::vector<double>& sums, std::size_t group) const {
  double percent = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (group_[i] == group) percent += fit_.coefficients[i] * sums[i];
  }
  return percent;
}

// Joins the least certain group with the one that it is hardest to tell from. False if all are
// certain enough.
bool Account::joinTwo(const std::vector<double>& sums) {
  std::size_t worst = kColumns;
  double most = 2 * kTiny;
  for (std::size_t g = kAwake; g < kColumns; ++g) {
    if (!learned_[g] || group_[g] != g) continue;
    const double error = kErrors * std::sqrt(std::max(0.0, groupCovariance(sums, g, g)));
    if (error <= most || error <= kTooUncertain * groupPercent(sums, g)) continue;
    most = error;
    worst = g;
  }
  std::size_t partner = kColumns;
  double strongest = 0;
  for (std::size_t g = kAwake; worst < kColumns && g < kColumns; ++g) {
    if (!learned_[g] || group_[g] != g || g == worst) continue;
    const double common =
        groupCovariance(sums, worst, g) / std::sqrt(std::max(1e-12, groupCovariance(sums, g, g)));
    if (common < strongest) {
      strongest = common;
      partner = g;
    }
  }
  if (partner == kColumns) return false;
  const std::size_t first = std::min(worst, partner);
  for (std::size_t& of : group_) {
    if (of == worst || of == partner) of = first;
  }
  return true;
}

// Columns of which only the sum is known become one group.
void Account::keepApart() {
  std::vector<double> sums(kColumns);
  for (const PowerInterval* interval : onBattery_) {
    const std::vector<double> values = valuesOf(*interval);
    for (std::size_t i = 0; i < kColumns; ++i) sums[i] += values[i];
  }
  while (joinTwo(sums)) {
  }
  groupErrors_.assign(kColumns, 0);
  for (std::size_t g = 0; g < kColumns; ++g) {
    const double percent = groupPercent(sums, g);
    if (percent <= 0) continue;
    const double error = kErrors * std::sqrt(std::max(0.0, groupCovariance(sums, g, g)));
    groupErrors_[g] = std::hypot(error / percent, scatter_);
  }
}

std::uint32_t Account::partOf(Cause cause, std::string_view name) {
  const auto found = std::ranges::find_if(
      names_, [&](const Name& known) { return known.cause == cause && known.name == name; });
  if (found != names_.end()) return static_cast<std::uint32_t>(found - names_.begin());
  const bool measured = processors_ && (cause == Cause::Processor || cause == Cause::Process);
  names_.push_back({cause, std::string(name), measured});
  return static_cast<std::uint32_t>(names_.size() - 1);
}

void Account::addProcesses(const PowerInterval& interval, double percent, double error,
                           Line& line) {
  if (!(interval.cpu > 0)) return;
  double rest = interval.cpu;
  const auto add = [&](std::string_view name, double seconds) {
    const double share = seconds / interval.cpu;
    line.entries.push_back({partOf(Cause::Process, name), percent * share, error * share,
                            static_cast<LogTime>(std::llround(seconds))});
  };
  for (const auto& [name, seconds] : interval.busiest) {
    const double used = static_cast<double>(seconds);
    rest -= used;
    add(summary_->names[name], used);
  }
  if (rest > 0.05 * interval.cpu || rest > 1) add(kOthers, rest);
}

void Account::makeLines() {
  static constexpr Cause kCauses[kColumns] = {Cause::Asleep,  Cause::Awake, Cause::Display,
                                              Cause::Process, Cause::Wifi,  Cause::Modem,
                                              Cause::Call,    Cause::Audio};
  // The names of groups of several.
  std::vector<std::string> together(kColumns);
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (!learned_[i]) continue;
    std::string& text = together[group_[i]];
    text +=
        (text.empty() ? "" : ", ") + std::string(causeWord(kCauses[i])) + (i == kCpu ? "es" : "");
  }
  const auto alone = [&](std::size_t column) {
    std::size_t members = 0;
    for (std::size_t i = 0; i < kColumns; ++i) {
      members += learned_[i] && group_[i] == group_[column] ? 1 : 0;
    }
    return members == 1;
  };
  double readings = 0;
  for (const PowerInterval* interval : onBattery_) {
    Line& line = lines_.emplace_back();
    line.begin = interval->begin;
    line.end = interval->end;
    line.used = interval->used;
    const std::vector<double> values = valuesOf(*interval);
    if (processors_ && interval->joules) {
      const double idle = processors_->coefficients[0] * values[kAwake];
      const double busy = processors_->coefficients[1] * values[kCpu];
      const double measured = *percentPerJoule_ * *interval->joules;
      const double share = idle + busy > 0 ? busy / (idle + busy) : 1;
      // The readings of counters and CPU times are some milliseconds apart.
      addProcesses(*interval, measured * share, kSpread * measured * share, line);
      if (share < 1) {
        line.entries.push_back({partOf(Cause::Processor, ""), measured * (1 - share),
                                kSpread * measured * (1 - share), interval->awake()});
      }
    }
    for (std::size_t i = kAwake; known_ && i < kColumns; ++i) {
      if (!learned_[i] || values[i] <= 0) continue;
      const double percent = fit_.coefficients[i] * values[i];
      // By the readings, and because no two intervals use quite the same for the same.
      const double error =
          std::hypot(kErrors * std::sqrt(std::max(0.0, fit_.covarianceOf(i, i))) * values[i],
                     scatter_ * percent);
      const LogTime seconds = i == kDisplay ? interval->lit
                              : i == kWifi || i == kModem
                                  ? 0
                                  : static_cast<LogTime>(std::llround(values[i]));
      if (!alone(i)) {
        // What the group may be off by is less than the sum: that is set for the whole log below.
        line.entries.push_back(
            {partOf(Cause::Together, together[group_[i]]), percent, 0, i == kAwake ? seconds : 0});
      } else if (i == kCpu) {
        addProcesses(*interval, percent, error, line);
      } else {
        line.entries.push_back({partOf(kCauses[i], ""), percent, error, seconds});
      }
    }
    addSleep(*interval, line, readings);
  }
  // A sleep uses no less than nothing, but the level may go up in one by what the one before it
  // seems to have used: in all, sleeps use no more than there was.
  const double whole = std::max(0.0, asleep_.percent + awake_.percent);
  if (asleep_.percent > whole) {
    const double share = whole / asleep_.percent;
    for (Line& line : lines_) line.asleep.percent *= share;
    awake_.percent += asleep_.percent - whole;
    asleep_.error += asleep_.percent - whole;
    asleep_.percent = whole;
  }
  asleep_.error = std::hypot(asleep_.error, std::sqrt(readings));
  asleep_.error = std::min(asleep_.error, std::max(whole, kTiny));
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
  if (!known_ && !pure) return mixIn(mixed_, interval.used, interval.seconds());
  double others = 0;
  for (const Entry& entry : line.entries) others += entry.percent;
  double percent = interval.used;
  double error = 0;
  if (interval.asleep * 2 >= interval.seconds()) {
    percent = std::clamp(interval.used - others, 0.0, std::max(0.0, interval.used));
    // The minutes before and after a sleep are few, and may be unlike the others.
    error = std::max(kErrors * scatter_, kFewMinutes) * others;
    readings += reading_ * reading_;
  } else {
    const auto seconds = static_cast<double>(interval.asleep);
    percent = std::min(fit_.coefficients[kAsleep] * seconds, std::max(0.0, interval.used));
    error = kErrors * std::sqrt(fit_.covarianceOf(kAsleep, kAsleep)) * seconds;
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
    part.uncertain = part.error > kUncertain * part.percent && part.error > kTiny;
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

// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogSummary.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace zorva {
namespace {

using Tally = LogSummary::Tally;

// Tallies by lane, name and detail.
class Tallies {
 public:
  Tally& at(std::size_t group, std::string_view name, std::string_view detail) {
    return byIndex(indexOf(group, name, detail));
  }

  std::size_t indexOf(std::size_t group, std::string_view name, std::string_view detail) {
    key_.assign(1, static_cast<char>(group));
    key_.append(name).append(1, '\0').append(detail);
    const auto [found, added] = index_.emplace(key_, tallies_.size());
    if (added) {
      tallies_.emplace_back(group, Tally{std::string(name), std::string(detail)});
    }
    return found->second;
  }

  Tally& byIndex(std::size_t index) { return tallies_[index].second; }

  std::vector<Tally> take(std::size_t group) {
    std::vector<Tally> taken;
    for (auto& [of, tally] : tallies_) {
      if (of == group) taken.push_back(std::move(tally));
    }
    return taken;
  }

 private:
  std::unordered_map<std::string, std::size_t> index_;
  std::vector<std::pair<std::size_t, Tally>> tallies_;
  std::string key_;
};

std::vector<LogSummary::Amount> sorted(const std::unordered_map<std::string, std::int64_t>& map) {
  std::vector<LogSummary::Amount> amounts;
  for (const auto& [name, amount] : map) amounts.push_back({name, amount});
  std::ranges::sort(amounts, [](const auto& one, const auto& other) {
    return std::tie(other.amount, one.name) < std::tie(one.amount, other.name);
  });
  return amounts;
}

std::vector<Tally> sorted(std::vector<Tally> tallies, bool bySeconds) {
  std::ranges::sort(tallies, [&](const Tally& one, const Tally& other) {
    const auto measure = [&](const Tally& tally) {
      return bySeconds ? tally.seconds : static_cast<LogTime>(tally.count);
    };
    return std::tuple(measure(other), std::tie(one.name, one.detail)) <
           std::tuple(measure(one), std::tie(other.name, other.detail));
  });
  return tallies;
}

// The process that the wake was for, or the packet that none expected. Empty if the modem did not
// wake the device.
std::string ownerOf(const LogWake& wake) {
  if (!wake.owner.empty()) return std::string(wake.owner);
  // The sender in "UDP 203.0.113.77:53211 to port 31337" is of no use in a tally.
  const std::size_t port = wake.decoded.find(" to port ");
  if (port == wake.decoded.npos) return std::string(wake.decoded);
  const std::string_view protocol = wake.decoded.substr(0, wake.decoded.find(' '));
  return "no process (" + std::string(protocol) + std::string(wake.decoded.substr(port)) + ")";
}

}  // namespace

LogTime LogSummary::seconds(Lane of) const {
  LogTime sum = 0;
  for (const Tally& tally : lane(of)) sum += tally.seconds;
  return sum;
}

LogTime LogSummary::awakeOnBattery() const {
  return std::max<LogTime>(0, covered - asleepSeconds - seconds(Lane::Charging) + asleepOnCharger);
}

std::optional<double> LogSummary::wattHoursPerPercent() const {
  if (!volts || !capacity || *capacity <= 0) return std::nullopt;
  return *volts * *capacity / 1000 / 100;
}

class LogSummarizer::Sink : public LogHistorySink {
 public:
  explicit Sink(const LogWindow& window) : window_(window), power_(window) {
    if (window.since != LogWindow::kAlways) allDays_.emplace(LogWindow{});
  }

  // To be called after the entry's contents have been reported.
  void entry(LogTime time) {
    if (!stretch_ && time >= window_.since) {
      const LogTime begin = previous_ ? std::max(*previous_, window_.since) : time;
      if (begin <= window_.until) beginStretch(begin);
    }
    previous_ = time;
    if (!window_.holds(time)) return;
    ++summary_.entries;
  }

  void span(const LogSpan& span) override {
    if (allDays_) allDays_->span(span);
    const LogTime begin = std::max(span.begin, window_.since);
    const LogTime end = std::min(span.end, window_.until);
    if (end < begin) return;
    const LogTime seconds = end - begin;
    power_.span(span);
    if (span.lane == Lane::Asleep) addSleep(span, begin, end);
    if (span.lane == Lane::Charging) charging_.emplace_back(begin, end);
    const std::string_view detail = span.lane == Lane::Display ? "" : span.what;
    const std::size_t index =
        tallies_.indexOf(static_cast<std::size_t>(span.lane), span.who, detail);
    Tally& tally = tallies_.byIndex(index);
    ++tally.count;
    tally.seconds += seconds;
    tally.longest = std::max(tally.longest, seconds);
    tally.goesOn = !span.endKnown || end != span.end;
    if (span.lane == Lane::Assertion) holds_.push_back({begin, end, index});
  }

  void battery(const BatteryReading& reading) override {
    if (allDays_) allDays_->battery(reading);
    power_.battery(reading);
    if (!window_.holds(reading.time)) return;
    if (reading.capacity) summary_.capacity = reading.capacity;
    if (reading.volts) {
      volts_ += *reading.volts;
      ++voltsRead_;
      if (!reading.milliamperes || *reading.milliamperes < 0) {
        voltsOnBattery_ += *reading.volts;
        ++voltsReadOnBattery_;
      }
    }
  }

  // What was gathered until a day ago, or until the oldest of the states that last, is complete.
  void settle(const LogHistory& history) {
    if (!previous_) return;
    LogTime until = *previous_ - kDay;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      for (const LogSpan& span : history.lasting(static_cast<Lane>(lane))) {
        if (PowerIntervals::takes(span)) until = std::min(until, span.begin);
      }
    }
    power_.settle(until);
    if (allDays_) allDays_->settle(until);
  }

  void batteryLife(const BatteryLife& life) override { summary_.batteryLife = life; }

  void energy(LogTime from, LogTime to, std::span<const Growth> parts) override {
    power_.energy(from, to, parts);
  }

  void work(LogTime from, LogTime to, std::span<const Growth> units) override {
    power_.work(from, to, units);
  }

  void traffic(LogTime from, LogTime to, const TrafficUse& use) override {
    power_.traffic(from, to, use);
  }

  void suspended(const SleepRecord& record) override {
    if (!window_.holds(record.time)) return;
    if (record.failed) {
      if (!lastRefusal_ || std::llabs(record.time - *lastRefusal_) > kSameAttempt) {
        refuse(record.time);
      }
      if (summary_.refusalCount > LogSummary::kMaxRefusals) return;
      summary_.refusals.back().step = record.failedStep;
      summary_.refusals.back().device = record.failedDevice;
      return;
    }
    if (record.hardware && record.asleep > 0) {
      summary_.recordedAsleep += record.asleep;
      summary_.hardwareAsleep += *record.hardware;
    }
    for (LogSummary::Sleep& sleep : summary_.longestSleeps) {
      if (!sleep.endKnown || record.time - sleep.end > kSameAttempt || sleep.end > record.time) {
        continue;
      }
      sleep.hardware = record.hardware;
      sleep.mode = record.mode;
    }
  }

  void sample(Curve curve, LogTime time, double value, LogPosition) override {
    if (!window_.holds(time)) return;
    switch (curve) {
      case Curve::Level:
        if (!summary_.firstLevel) summary_.firstLevel = value;
        summary_.lastLevel = value;
        break;
      case Curve::Signal:
        summary_.weakestSignal = std::min(summary_.weakestSignal.value_or(value), value);
        summary_.strongestSignal = std::max(summary_.strongestSignal.value_or(value), value);
        passSignal(time);
        signal_ = {time, value};
        break;
      case Curve::Received:
        summary_.received += value;
        summary_.traffic = true;
        break;
      case Curve::Sent:
        summary_.sent += value;
        summary_.traffic = true;
        break;
      case Curve::Temperature:
        summary_.hottestBattery = std::max(summary_.hottestBattery.value_or(value), value);
        break;
      case Curve::Current:
        break;
    }
  }

  void wake(const LogWake& wake) override {
    if (!window_.holds(wake.time)) return;
    ++summary_.wakes;
    ++tallies_.at(kReasons, wake.reason, "").count;
    if (const std::string owner = ownerOf(wake); !owner.empty()) {
      ++tallies_.at(kOwners, owner, "").count;
    }
    // The sleep has been reported before its wake.
    for (LogSummary::Sleep& sleep : summary_.longestSleeps) {
      if (wake.asleepSince && sleep.end == wake.time && sleep.endKnown) {
        sleep.reason = wake.reason;
        sleep.decoded = wake.decoded;
        sleep.owner = wake.owner;
        sleep.ownerPid = wake.ownerPid;
      }
    }
  }

  void moment(const LogMoment& moment) override {
    if (moment.category == "Sleep" && window_.holds(moment.time)) refuse(moment.time);
    if (!moment.isError || !window_.holds(moment.time)) return;
    ++summary_.errorCount;
    for (LogSummary::Error& error : summary_.errors) {
      if (error.text == moment.text) {
        ++error.count;
        return;
      }
    }
    if (summary_.errors.size() < LogSummary::kMaxErrors) {
      summary_.errors.push_back({std::string(moment.text), 1, moment.time});
    }
  }

  void processes(LogTime from, LogTime to, std::span<const ProcessUse> uses, LogPosition) override {
    power_.processes(from, to, uses);
    if (!window_.holds(from) || !window_.holds(to)) return;
    summary_.processSeconds += to - from;
    for (const ProcessUse& use : uses) add(processes_, use.name, use.seconds);
  }

  void processesEnded(LogTime, LogTime to, std::span<const ProcessUse> uses) override {
    power_.processesEnded(to, uses);
  }

  void modem(LogTime from, LogTime to, std::span<const ModemUse> uses, LogPosition) override {
    if (!window_.holds(from) || !window_.holds(to)) return;
    for (const ModemUse& use : uses) add(modem_, use.state, use.milliseconds);
  }

  void interruption(LogTime before, LogTime after, LogPosition) override {
    endStretch(before);
    previous_.reset();
    if (!window_.holds(before) && !window_.holds(after)) return;
    ++summary_.interruptionCount;
    if (summary_.interruptions.size() < LogSummary::kMaxInterruptions) {
      summary_.interruptions.push_back({before, after});
    }
  }

  LogSummary finish() {
    if (previous_) endStretch(*previous_);
    summary_.wakeReasons = sorted(tallies_.take(kReasons), false);
    summary_.wakeOwners = sorted(tallies_.take(kOwners), false);
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      summary_.lanes[lane] = sorted(tallies_.take(lane), true);
    }
    summary_.processes = sorted(processes_);
    summary_.modem = sorted(modem_);
    summary_.intervals = power_.take();
    if (allDays_) compareDays();
    summary_.names = power_.takeNames();
    summary_.interrupted = power_.interrupted();
    if (voltsReadOnBattery_ > 0) {
      summary_.volts = voltsOnBattery_ / static_cast<double>(voltsReadOnBattery_);
    } else if (voltsRead_ > 0) {
      summary_.volts = volts_ / static_cast<double>(voltsRead_);
    }
    return std::move(summary_);
  }

 private:
  static constexpr std::size_t kReasons = kLanes;
  static constexpr std::size_t kOwners = kLanes + 1;
  using Amounts = std::unordered_map<std::string, std::int64_t>;

  void add(Amounts& amounts, std::string_view name, std::int64_t amount) {
    key_.assign(name);
    amounts[key_] += amount;
  }

  void beginStretch(LogTime time) {
    if (!begun_) summary_.first = time;
    begun_ = true;
    stretch_ = time;
  }

  void endStretch(LogTime last) {
    close();
    if (!stretch_) return;
    summary_.last = std::max(*stretch_, std::min(last, window_.until));
    summary_.covered += summary_.last - *stretch_;
    stretch_.reset();
  }

  void addSleep(const LogSpan& span, LogTime begin, LogTime end) {
    ++summary_.sleeps;
    summary_.asleepSeconds += end - begin;
    auto& longest = summary_.longestSleeps;
    longest.push_back({begin, end, span.endKnown && end == span.end, end != span.end, {}, {}, {}});
    if (longest.size() <= LogSummary::kMaxSleeps) return;
    longest.erase(std::ranges::min_element(
        longest, {}, [](const LogSummary::Sleep& sleep) { return sleep.end - sleep.begin; }));
  }

  struct Hold {
    LogTime begin;
    LogTime end;
    std::size_t tally;
  };

  void refuse(LogTime time) {
    if (summary_.refusals.size() < LogSummary::kMaxRefusals) {
      summary_.refusals.push_back({time, {}, {}, {}});
    }
    ++summary_.refusalCount;
    lastRefusal_ = time;
  }

  void addHold(const Hold& hold) {
    Tally& tally = tallies_.byIndex(hold.tally);
    const LogTime awake = std::max<LogTime>(
        0, hold.end - hold.begin - power_.overlap(Lane::Asleep, hold.begin, hold.end));
    const LogTime dark =
        std::max<LogTime>(0, awake - power_.overlap(Lane::Display, hold.begin, hold.end));
    tally.awake += awake;
    tally.dark += dark;
    if (dark < LogSummary::kLongDark) return;
    auto& longest = summary_.darkHolds;
    longest.push_back({tally.name, tally.detail, hold.begin, hold.end});
    if (longest.size() <= LogSummary::kMaxDarkHolds) return;
    longest.erase(std::ranges::min_element(
        longest, {}, [](const LogSummary::DarkHold& each) { return each.end - each.begin; }));
  }

  // What the same hours of other days used on battery. A day counts if it was on battery for half
  // as long as these hours were.
  void compareDays() {
    const auto used = [](const std::vector<PowerInterval>& intervals, LogTime from, LogTime to) {
      std::pair<double, LogTime> sum;
      for (const PowerInterval& interval : intervals) {
        const LogTime common = std::min(interval.end, to) - std::max(interval.begin, from);
        if (common <= 0 || !interval.onBattery()) continue;
        sum.first +=
            interval.used * static_cast<double>(common) / static_cast<double>(interval.seconds());
        sum.second += common;
      }
      return sum;
    };
    const std::vector<PowerInterval> all = allDays_->take();
    const LogTime length = summary_.last - summary_.first;
    if (all.empty() || length <= 0 || length > kDay) return;
    const LogTime here = used(all, summary_.first, summary_.last).second;
    const auto add = [&](LogTime shift) {
      const auto [percent, seconds] = used(all, summary_.first + shift, summary_.last + shift);
      if (seconds == 0 || seconds * 2 < here) return;
      ++summary_.otherDays.days;
      summary_.otherDays.percent += percent;
      summary_.otherDays.seconds += seconds;
    };
    for (std::int64_t i = 1; i <= kMaxOtherDays; ++i) {
      add(-i * kDay);
      add(i * kDay);
    }
  }

  // The signal was what it was at the last reading until now.
  void passSignal(LogTime now) {
    if (!signal_) return;
    const LogTime seconds = std::clamp<LogTime>(now - signal_->first, 0, kMaxSignalAge);
    summary_.signalSeconds += seconds;
    if (signal_->second <= LogSummary::kWeakSignal) summary_.weakSignalSeconds += seconds;
  }

  // The states up to an interruption, or the end, are complete: tells what they were together.
  void close() {
    // Of holds of one name at the same time, the time counts once.
    std::ranges::sort(holds_, {},
                      [](const Hold& hold) { return std::pair(hold.tally, hold.begin); });
    std::size_t kept = 0;
    for (const Hold& hold : holds_) {
      Hold* const last = kept > 0 ? &holds_[kept - 1] : nullptr;
      if (last != nullptr && last->tally == hold.tally && hold.begin <= last->end) {
        last->end = std::max(last->end, hold.end);
      } else {
        holds_[kept++] = hold;
      }
    }
    holds_.resize(kept);
    for (const Hold& hold : holds_) addHold(hold);
    for (; refusalsDone_ < summary_.refusals.size(); ++refusalsDone_) {
      LogSummary::Refusal& refusal = summary_.refusals[refusalsDone_];
      const Hold* longest = nullptr;
      for (const Hold& hold : holds_) {
        if (hold.begin > refusal.time || hold.end < refusal.time) continue;
        ++tallies_.byIndex(hold.tally).refused;
        if (longest == nullptr || hold.end - hold.begin > longest->end - longest->begin) {
          longest = &hold;
        }
      }
      if (longest == nullptr) continue;
      const Tally& tally = tallies_.byIndex(longest->tally);
      refusal.holder = tally.name + ": " + tally.detail;
    }
    for (const auto& [begin, end] : charging_) {
      summary_.asleepOnCharger += power_.overlap(Lane::Asleep, begin, end);
    }
    power_.close();
    if (allDays_) allDays_->close();
    signal_.reset();
    lastRefusal_.reset();
    holds_.clear();
    charging_.clear();
  }

  // Seconds within which entries are about the same attempt to sleep.
  static constexpr LogTime kSameAttempt = 3;
  static constexpr LogTime kDay = 86400;
  static constexpr std::int64_t kMaxOtherDays = 30;  // before, and after
  // Seconds after which a reading of the signal says nothing any more.
  static constexpr LogTime kMaxSignalAge = 3600;

  LogWindow window_;
  LogSummary summary_;
  std::optional<LogTime> stretch_;  // where the part that is summed up began
  bool begun_ = false;              // there is such a part
  std::optional<LogTime> previous_;
  PowerIntervals power_;
  std::optional<PowerIntervals> allDays_;  // also outside the window, without what was used for it
  std::vector<Hold> holds_;
  std::vector<std::pair<LogTime, LogTime>> charging_;
  std::size_t refusalsDone_ = 0;
  std::optional<LogTime> lastRefusal_;
  std::optional<std::pair<LogTime, double>> signal_;
  double volts_ = 0;
  double voltsOnBattery_ = 0;
  std::uint64_t voltsRead_ = 0;
  std::uint64_t voltsReadOnBattery_ = 0;
  Tallies tallies_;
  Amounts processes_;
  Amounts modem_;
  std::string key_;
};

LogSummarizer::LogSummarizer(const LogWindow& window)
    : sink_(std::make_unique<Sink>(window)), history_(*sink_) {}
LogSummarizer::~LogSummarizer() = default;

void LogSummarizer::add(const LogRecord& record) {
  history_.add(record);
  if (!record.isTimed()) return;
  sink_->entry(record.time);
  if (++added_ % kSettledAfter == 0) sink_->settle(history_);
}

LogSummary LogSummarizer::finish() {
  history_.finish();
  return sink_->finish();
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogSummary.h"

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "report/analyse/ChargeAccount.h"

namespace zorva {
namespace {

using Tally = LogSummary::Tally;

// Tallies by lane, name and detail.
class Tallies {
 public:
  Tally& at(std::size_t group, std::string_view name, std::string_view detail) {
    key_.assign(1, static_cast<char>(group));
    key_.append(name).append(1, '\0').append(detail);
    const auto [found, added] = index_.emplace(key_, tallies_.size());
    if (added) {
      tallies_.emplace_back(group, Tally{std::string(name), std::string(detail)});
    }
    return tallies_[found->second].second;
  }

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

std::optional<double> LogSummary::Charge::perHour() const {
  if (seconds < 60) return std::nullopt;
  return percent * 3600 / static_cast<double>(seconds);
}

class LogSummarizer::Sink : public LogHistorySink {
 public:
  explicit Sink(const LogWindow& window) : window_(window) {}

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
    const LogTime begin = std::max(span.begin, window_.since);
    const LogTime end = std::min(span.end, window_.until);
    if (end < begin) return;
    const LogTime seconds = end - begin;
    if (span.lane == Lane::Asleep) {
      addSleep(span, begin, end);
    } else if (span.lane == Lane::Charging) {
      account_.addCharging(begin, end);
    }
    const std::string_view detail = span.lane == Lane::Display ? "" : span.what;
    Tally& tally = tallies_.at(static_cast<std::size_t>(span.lane), span.who, detail);
    ++tally.count;
    tally.seconds += seconds;
    tally.longest = std::max(tally.longest, seconds);
    tally.goesOn = !span.endKnown || end != span.end;
  }

  void sample(Curve curve, LogTime time, double value, LogPosition) override {
    if (!window_.holds(time)) return;
    switch (curve) {
      case Curve::Level:
        if (!summary_.firstLevel) summary_.firstLevel = value;
        summary_.lastLevel = value;
        account_.addLevel(time, value);
        break;
      case Curve::Signal:
        summary_.weakestSignal = std::min(summary_.weakestSignal.value_or(value), value);
        summary_.strongestSignal = std::max(summary_.strongestSignal.value_or(value), value);
        break;
      case Curve::Received:
        summary_.received += value;
        summary_.traffic = true;
        break;
      case Curve::Sent:
        summary_.sent += value;
        summary_.traffic = true;
        break;
      case Curve::Current:
      case Curve::Temperature:
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
    if (!window_.holds(from) || !window_.holds(to)) return;
    summary_.processSeconds += to - from;
    for (const ProcessUse& use : uses) add(processes_, use.name, use.seconds);
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
    account_.close(summary_);
    if (!stretch_) return;
    summary_.last = std::max(*stretch_, std::min(last, window_.until));
    summary_.covered += summary_.last - *stretch_;
    stretch_.reset();
  }

  void addSleep(const LogSpan& span, LogTime begin, LogTime end) {
    account_.addAsleep(begin, end);
    ++summary_.sleeps;
    summary_.asleepSeconds += end - begin;
    auto& longest = summary_.longestSleeps;
    longest.push_back({begin, end, span.endKnown && end == span.end, end != span.end, {}, {}, {}});
    if (longest.size() <= LogSummary::kMaxSleeps) return;
    longest.erase(std::ranges::min_element(
        longest, {}, [](const LogSummary::Sleep& sleep) { return sleep.end - sleep.begin; }));
  }

  LogWindow window_;
  LogSummary summary_;
  std::optional<LogTime> stretch_;  // where the part that is summed up began
  bool begun_ = false;              // there is such a part
  std::optional<LogTime> previous_;
  ChargeAccount account_;
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
  if (record.isTimed()) sink_->entry(record.time);
}

LogSummary LogSummarizer::finish() {
  history_.finish();
  return sink_->finish();
}

}  // namespace zorva

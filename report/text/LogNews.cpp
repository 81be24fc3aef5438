// SPDX-License-Identifier: Apache-2.0
#include "report/text/LogNews.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/base/Text.h"
#include "report/analyse/PowerIntervals.h"
#include "report/format/Wording.h"

namespace zorva {
namespace {

// Seconds after a new level in which the lists of processes that belong to it come.
constexpr LogTime kSnapshotSeconds = 5;
// By so much of a processor at least a process must have been busy to be reported.
constexpr double kBusy = 0.01;
constexpr std::size_t kMaxHolders = 3;  // that are named at once
// A sleep of so many seconds has succeeded.
constexpr LogTime kSlept = 60;

}  // namespace

class LogNews::Sink : public LogHistorySink {
 public:
  explicit Sink(Print print) : print_(std::move(print)), history_(*this) {}

  void add(const LogRecord& record, bool told) {
    if (record.isTimed()) {
      if (pending_ && record.time > levelTime_ + kSnapshotSeconds) tellLevel();
      if (last_ && record.time > *last_) {
        tellHolders(*last_);
        pass(record.time - *last_);
      }
      last_ = std::max(record.time, last_.value_or(record.time));
      told_ = told;
    }
    history_.add(record);
    asleep_ = !history_.lasting(Lane::Asleep).empty();
  }

  void begin() {
    const bool told = std::exchange(told_, true);
    for (auto& [key, hold] : holds_) hold.next = kLongHold;
    if (last_) tellHolders(*last_);
    told_ = told;
  }

  void silent(LogTime seconds) {
    history_.settle();
    tellLevel();
    if (last_ && told_ && seconds <= LogHistory::kMaxSilence) tellHolders(*last_ + seconds);
  }

  std::optional<LogTime> due() const {
    std::optional<LogTime> first;
    if (!last_ || !told_ || asleep_ || isLit()) return first;
    for (const LogSpan& span : history_.lasting(Lane::Assertion)) {
      const Hold* const hold = holdOf(span);
      const LogTime next = hold == nullptr ? kLongHold : hold->next;
      const LogTime in = std::max<LogTime>(1, next - darkOf(span, hold, *last_));
      if (in <= LogHistory::kMaxSilence) first = std::min(first.value_or(in), in);
    }
    return first;
  }

  void finish() {
    tellLevel();
    history_.finish();
  }

  std::optional<double> level() const { return level_; }

  void span(const LogSpan& span) override {
    const std::string time = (span.beginKnown ? "" : "at least ") + duration(span.end - span.begin);
    const std::string who(span.who);
    const std::string what(span.what);
    switch (span.lane) {
      case Lane::Asleep:
        if (span.end - span.begin >= kSlept) refused_ = {};
        // The holds were taken to be of an awake device.
        if (!asleep_) passSleep(span.end - span.begin);
        // If the end is known, the wake reports it.
        if (!span.endKnown) say(span.end, "Slept " + time + "; what ended it is not in the log.");
        break;
      case Lane::Assertion:
        tellRelease(span);
        break;
      case Lane::Display:
        if (span.endKnown) say(span.end, "The display was at " + what + " for " + time + ".");
        break;
      case Lane::Charging:
        say(span.end, "On the charger for " + time + ": " + what + ".");
        break;
      case Lane::Thermal:
        say(span.end, "Thermal level " + what + " for " + time + ".");
        break;
      case Lane::Call:
        say(span.end, "Call: " + what + " for " + time + ".");
        break;
      case Lane::Application:
        say(span.end, who + " was in mode " + what + " for " + time + ".");
        break;
      default:
        break;
    }
  }

  void sample(Curve curve, LogTime time, double value, LogPosition) override {
    if (curve != Curve::Level || (level_ && std::floor(*level_) == std::floor(value))) return;
    tellLevel();
    std::string text = "The battery is at " + figure(value) + " %";
    if (level_) {
      text += formatText(", %+.1f %% in ", value - *level_) + duration(time - levelTime_);
    }
    const bool falls = level_ && value < *level_;
    level_ = value;
    levelTime_ = time;
    if (falls) {
      pending_ = std::move(text);
      pendingTold_ = told_;
    } else {
      say(time, text + ".");
      forgetUses();
    }
  }

  void processes(LogTime, LogTime, std::span<const ProcessUse> uses, LogPosition) override {
    for (const ProcessUse& use : uses) {
      processes_[std::string(use.name)] += static_cast<double>(use.seconds);
    }
  }

  // Units also have the processes that ended in between. Their list is the last of a snapshot.
  void work(LogTime, LogTime, std::span<const Growth> units) override {
    for (const Growth& unit : units) units_[std::string(shortUnitName(unit.name))] += unit.amount;
    tellLevel();
  }

  void fallsAsleep(LogTime time) override { say(time, "Goes to sleep."); }

  void wake(const LogWake& wake) override {
    std::string text = "Woke up";
    if (wake.asleepSince) text += " after " + duration(wake.time - *wake.asleepSince);
    text += ": " + std::string(wake.reason);
    if (!wake.decoded.empty()) text += ", " + std::string(wake.decoded);
    if (!wake.owner.empty()) text += ", for " + std::string(wake.owner);
    say(wake.time, text + ".");
  }

  void suspended(const SleepRecord& record) override {
    if (!record.failed) return;
    std::string text = "The sleep failed";
    if (!record.failedDevice.empty()) text += " because of " + std::string(record.failedDevice);
    if (!record.failedStep.empty()) text += ", in the step " + std::string(record.failedStep);
    say(record.time, text + ".");
  }

  void moment(const LogMoment& moment) override {
    if (moment.category == "Sleep") return tellRefusal(moment.time);
    say(moment.time, (moment.isError ? "Error: " : std::string(moment.category) + ": ") +
                         std::string(moment.text));
  }

  void interruption(LogTime before, LogTime after, LogPosition) override {
    tellLevel();
    levelTime_ = after;
    last_ = after;
    holds_.clear();
    refused_ = {};
    forgetUses();
    say(after, after < before ? "The time went back by " + duration(before - after) + "."
                              : "Nothing was logged for " + duration(after - before) + ".");
  }

 private:
  // Of an assertion that is held.
  struct Hold {
    LogTime asleep = 0;  // of the time in which it was held
    LogTime lit = 0;     // the same, awake with the display lit
    LogTime next = kLongHold;
  };

  using Holds = std::unordered_map<std::string, Hold>;

  // Refused sleeps, one after the other, with the same holders.
  struct Refused {
    std::string holders;
    std::uint64_t count = 0;
    LogTime since = 0;
  };

  void say(LogTime time, const std::string& text) {
    if (!told_) return;
    std::string line = shortTime(time) + "  " + safeText(text);
    if (pending_) {
      waiting_.push_back(std::move(line));
    } else {
      print_(line);
    }
  }

  // The level, once it is known which process was the busiest since the one before.
  void tellLevel() {
    if (!pending_) return;
    std::string text = *std::exchange(pending_, std::nullopt);
    const auto& uses = units_.empty() ? processes_ : units_;
    const auto most = std::ranges::max_element(
        uses, {}, [](const auto& use) { return std::pair(use.second, use.first); });
    if (most != uses.end() && most->second >= 1 &&
        most->second >= kBusy * static_cast<double>(awake_)) {
      text += "; busiest: " + most->first + ", " +
              duration(static_cast<LogTime>(std::llround(most->second))) + " of CPU time";
    }
    if (pendingTold_) print_(shortTime(levelTime_) + "  " + safeText(text + "."));
    for (const std::string& line : std::exchange(waiting_, {})) print_(line);
    forgetUses();
  }

  void forgetUses() {
    processes_.clear();
    units_.clear();
    awake_ = 0;
  }

  bool isLit() const { return !history_.lasting(Lane::Display).empty(); }

  // One that is taken again in the second of its release is another one.
  static std::string keyOf(const LogSpan& span) {
    return formatText("%lld %lld ", static_cast<long long>(span.begin),
                      static_cast<long long>(span.pid)) +
           std::string(span.what);
  }

  // Null if it has only just been seen.
  const Hold* holdOf(const LogSpan& span) const {
    const auto found = holds_.find(keyOf(span));
    return found == holds_.end() ? nullptr : &found->second;
  }

  // For how long it has kept the device awake with a dark display.
  static LogTime darkOf(const LogSpan& span, const Hold* hold, LogTime now) {
    const LogTime notDark = hold == nullptr ? 0 : hold->asleep + hold->lit;
    return std::max<LogTime>(0, now - span.begin - notDark);
  }

  // So many seconds have passed in the states of before.
  void pass(LogTime seconds) {
    if (!asleep_) awake_ += seconds;
    Holds holds;
    const bool lit = isLit();
    for (const LogSpan& span : history_.lasting(Lane::Assertion)) {
      std::string key = keyOf(span);
      auto node = holds_.extract(key);
      Hold& hold =
          node.empty() ? holds[std::move(key)] : holds.insert(std::move(node)).position->second;
      if (asleep_) {
        hold.asleep += seconds;
      } else if (lit) {
        hold.lit += seconds;
      }
    }
    holds_ = std::move(holds);
  }

  void passSleep(LogTime seconds) {
    awake_ = std::max<LogTime>(0, awake_ - seconds);
    for (auto& [key, hold] : holds_) hold.asleep += seconds;
  }

  // Names the assertions that have kept the device awake in the dark for so long that it is time
  // to.
  void tellHolders(LogTime now) {
    if (asleep_ || isLit()) return;
    std::vector<std::pair<LogTime, std::string>> due;
    std::set<std::pair<std::int64_t, std::string_view>> named;  // held twice, it is named once
    for (const LogSpan& span : history_.lasting(Lane::Assertion)) {
      const Hold* const known = holdOf(span);
      const LogTime dark = darkOf(span, known, now);
      if (dark < (known == nullptr ? kLongHold : known->next)) continue;
      Hold* const hold = &holds_[keyOf(span)];
      while (hold->next <= dark) hold->next *= 2;
      if (!named.emplace(span.pid, span.what).second) continue;
      const LogTime awake = now - span.begin - hold->asleep;
      std::string text = std::string(span.who) + " has kept the device awake for " +
                         (span.beginKnown ? "" : "at least ") + duration(awake);
      if (history_.knows(Lane::Display)) {
        text += (awake > dark ? ", " + duration(dark) + " of it" : std::string()) +
                " with a dark display";
      }
      due.emplace_back(dark, text + ": " + std::string(span.what) + ".");
    }
    std::ranges::stable_sort(due, std::greater(), &decltype(due)::value_type::first);
    for (std::size_t i = 0; i < std::min(due.size(), kMaxHolders); ++i) say(now, due[i].second);
    if (due.size() > kMaxHolders) {
      say(now, "And " + counted(due.size() - kMaxHolders, "other does", "others do") + ".");
    }
  }

  void tellRelease(const LogSpan& span) {
    const Hold* const hold = holdOf(span);
    const LogTime held = span.end - span.begin;
    const LogTime awake = std::max<LogTime>(0, held - (hold == nullptr ? 0 : hold->asleep));
    if (awake < kMinAssertionDuration) return;
    const std::string least = span.beginKnown ? "" : "at least ";
    say(span.end, std::string(span.who) + " kept the device awake for " + least + duration(awake) +
                      (awake < held ? ", held for " + least + duration(held) : std::string()) +
                      ": " + std::string(span.what) + ".");
  }

  void tellRefusal(LogTime time) {
    std::vector<LogSpan> spans = history_.lasting(Lane::Assertion);
    std::ranges::stable_sort(spans, {}, &LogSpan::begin);
    std::string names;
    std::string text;
    for (std::size_t i = 0; i < spans.size(); ++i) {
      const LogSpan& span = spans[i];
      names += std::string(span.who) + '\0' + std::string(span.what) + '\0';
      if (i >= kMaxHolders) continue;
      text += (i > 0 ? ", " : "") + std::string(span.who) + ": " + std::string(span.what) +
              (span.beginKnown ? " (" : " (at least ") + duration(time - span.begin) + ")";
    }
    if (spans.size() > kMaxHolders) {
      text += " and " + counted(spans.size() - kMaxHolders, "other", "others");
    }
    if (refused_.count == 0 || refused_.holders != names) refused_ = {names, 0, time};
    const std::uint64_t count = ++refused_.count;
    // Of many in a row, only each that doubles their number.
    if ((count & (count - 1)) != 0) return;
    say(time, "Sleep refused" +
                  (count > 1 ? " " + grouped(count) + " times since " + clockTime(refused_.since)
                             : std::string()) +
                  (spans.empty() ? "; the log names no holder." : ", held by " + text + "."));
  }

  Print print_;
  LogHistory history_;
  std::optional<LogTime> last_;  // of the last entry
  bool told_ = false;            // what happens now is printed
  bool asleep_ = false;          // after the last entry
  Holds holds_;
  Refused refused_;
  std::optional<double> level_;  // the last one reported
  LogTime levelTime_ = 0;
  std::optional<std::string> pending_;  // the sentence about it
  bool pendingTold_ = false;
  std::vector<std::string> waiting_;  // what is to be printed after it
  // Since that level: CPU seconds by name, and seconds awake.
  std::unordered_map<std::string, double> processes_;
  std::unordered_map<std::string, double> units_;
  LogTime awake_ = 0;
};

LogNews::LogNews(Print print) : sink_(std::make_unique<Sink>(std::move(print))) {}
LogNews::~LogNews() = default;

void LogNews::add(const LogRecord& record, bool told) {
  sink_->add(record, told);
}

void LogNews::begin() {
  sink_->begin();
}

void LogNews::silent(LogTime seconds) {
  sink_->silent(seconds);
}

std::optional<LogTime> LogNews::due() const {
  return sink_->due();
}

void LogNews::finish() {
  sink_->finish();
}

std::optional<double> LogNews::level() const {
  return sink_->level();
}

}  // namespace zorva

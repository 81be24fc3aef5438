// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "report/format/LogTime.h"

// A timeline's storage for a log of any length. Each store has a limit. Items beyond it are merged
// and marked as merged.
namespace zorva {

/// Seconds on the timeline's axis: they never go back, see TimelineClock.
using AxisTime = std::int64_t;

/// Makes one axis of the log's times. Those go back when the clock is set or the device travels to
/// another time zone, and leap when the device starts without knowing the date.
class TimelineClock {
 public:
  /// From `at` on, the local time is the axis' minus `shift`.
  struct Stretch {
    AxisTime at;
    std::int64_t shift;
    std::int64_t jump;  ///< seconds by which the time went forward there; negative: back
    LogTime from;
  };

  /// A longer silence is shown as one of kShownSilence seconds.
  static constexpr std::int64_t kMaxSilence = 30 * std::int64_t{86400};
  static constexpr std::int64_t kShownSilence = 3600;

  /// The log continues at this time. wentBack() has to report a time that is earlier than before.
  void advance(LogTime time);
  /// The log's time went back to `after`.
  void wentBack(LogTime before, LogTime after);

  /// The position on the axis of a time since the log's time last went back.
  AxisTime at(LogTime time) const;

  AxisTime begin() const { return begin_; }
  AxisTime end() const { return std::max(end_, begin_); }
  /// The first kMaxStretches.
  const std::vector<Stretch>& stretches() const { return stretches_; }

 private:
  static constexpr std::size_t kMaxStretches = 2000;
  void addStretch(LogTime from, std::int64_t shift, std::int64_t jump);

  std::vector<Stretch> stretches_;
  std::vector<Stretch> current_;  // since the time last went back
  LogTime last_ = 0;
  AxisTime begin_ = 0;
  AxisTime end_ = 0;
};

/// Numbers texts: equal texts have the same number. 0 is the empty text.
class TextTable {
 public:
  static constexpr std::size_t kMaximum = 20000;
  static constexpr std::size_t kMaxLength = 240;  ///< bytes; a longer one is cut

  TextTable() { numberOf(""); }

  /// Once the table is full, all new texts are "(one of many more)".
  std::uint32_t numberOf(std::string_view text);

  const std::deque<std::string>& texts() const { return texts_; }

 private:
  std::uint32_t add(std::string text);

  std::deque<std::string> texts_;
  std::unordered_map<std::string_view, std::uint32_t> numbers_;
};

/// A stretch of a lane; a point if it has no length. Texts are numbers of a TextTable.
struct TimelineSpan {
  AxisTime begin = 0;
  AxisTime end = 0;
  std::int64_t held = 0;    ///< seconds in the state: end - begin unless several were merged
  std::uint64_t first = 0;  ///< position of its first entry
  std::int64_t pid = 0;
  std::uint32_t who = 0;
  std::uint32_t what = 0;
  std::uint32_t detail = 0;
  std::uint32_t count = 1;  ///< the number of spans that were merged
  bool beginKnown = true;
  bool endKnown = true;
};

/// The spans of one lane.
class SpanStore {
 public:
  static constexpr std::size_t kMaximum = 20000;

  void add(const TimelineSpan& span);

  /// In the order of their beginnings. If some had to be merged, all those like them are, too.
  const std::vector<TimelineSpan>& finish();

  /// How many spans were merged into others.
  std::uint64_t merged() const { return merged_; }

 private:
  // The properties in which like spans agree.
  enum Likeness { AllTexts, Holder, Nothing };

  void sort();
  void compact();
  void merge();

  std::vector<TimelineSpan> spans_;
  std::int64_t gap_ = 1;
  Likeness likeness_ = AllTexts;
  std::uint64_t merged_ = 0;
};

/// A sampled value. Beyond the limit, only the minimum and maximum of each bucket of time remain.
class CurveStore {
 public:
  static constexpr std::size_t kMaxBuckets = 4000;

  struct Point {
    AxisTime at = 0;
    double value = 0;
  };

  void add(AxisTime at, double value);

  /// In the order of time; at most two for each bucket.
  std::vector<Point> points() const;

  /// Seconds per bucket; 1 as long as no sample was left out.
  std::int64_t width() const { return width_; }

 private:
  struct Bucket {
    std::int64_t number;
    Point least, greatest;
  };
  void add(const Bucket& bucket);

  std::vector<Bucket> buckets_;
  std::int64_t width_ = 1;
};

/// Amounts between two samples. Beyond the limit, two neighbours become one.
template <typename Amount>
class IntervalStore {
 public:
  static constexpr std::size_t kMaximum = 4000;  // even: nothing is left over

  struct Interval {
    AxisTime begin = 0;
    AxisTime end = 0;
    Amount amount;
  };

  void add(AxisTime begin, AxisTime end, const Amount& amount) {
    intervals_.push_back({begin, std::max(begin, end), amount});
    if (++pending_ < atOnce_) return;
    merge(intervals_.size() - pending_, pending_);
    pending_ = 0;
    if (intervals_.size() < kMaximum) return;
    for (std::size_t i = 0; i < intervals_.size() / 2; ++i) {
      intervals_[i] = intervals_[2 * i];
      add(intervals_[i], intervals_[2 * i + 1]);
    }
    intervals_.resize(intervals_.size() / 2);
    atOnce_ *= 2;
  }

  /// The last amount, to be added to.
  Amount* last() { return intervals_.empty() ? nullptr : &intervals_.back().amount; }

  const std::vector<Interval>& intervals() const { return intervals_; }
  /// The number of samples in an interval.
  std::size_t atOnce() const { return atOnce_; }

 private:
  static void add(Interval& to, const Interval& more) {
    to.end = more.end;
    to.amount += more.amount;
  }
  // Merges the last intervals, so many from this one on, into one.
  void merge(std::size_t first, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i) add(intervals_[first], intervals_[first + i]);
    intervals_.resize(first + 1);
  }

  std::vector<Interval> intervals_;
  std::size_t atOnce_ = 1;
  std::size_t pending_ = 0;
};

/// Bytes over all interfaces.
struct Traffic {
  double received = 0;
  double sent = 0;
  Traffic& operator+=(const Traffic& more) {
    received += more.received;
    sent += more.sent;
    return *this;
  }
};

/// How time was used, in total and by the busiest.
struct Work {
  static constexpr std::size_t kNamed = 8;

  struct Use {
    std::uint32_t name = 0;
    std::int64_t pid = 0;
    std::int64_t amount = 0;
  };

  std::int64_t amount = 0;
  std::vector<Use> busiest;  ///< at most kNamed, the busiest first
  std::uint64_t position = 0;

  void add(const Use& use);
  void keepBusiest();
  Work& operator+=(const Work& more);
};

}  // namespace zorva

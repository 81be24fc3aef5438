// SPDX-License-Identifier: Apache-2.0
#include "report/page/TimelineStores.h"

#include "platform/base/Text.h"

namespace zorva {

void TimelineClock::addStretch(LogTime from, std::int64_t shift, std::int64_t jump) {
  current_.push_back({from + shift, shift, jump, from});
  if (stretches_.size() < kMaxStretches) stretches_.push_back(current_.back());
  // If the log's time leaps again and again, old spans may begin a little off.
  if (current_.size() > kMaxStretches) current_.erase(current_.begin() + 1);
}

void TimelineClock::advance(LogTime time) {
  if (current_.empty()) {
    addStretch(time, 0, 0);
    begin_ = end_ = last_ = time;
  }
  if (time - last_ > kMaxSilence) {
    const std::int64_t leap = time - last_ - kShownSilence;
    addStretch(time, current_.back().shift - leap, leap);
  }
  if (time < last_) return;
  last_ = time;
  end_ = std::max(end_, at(time));
}

void TimelineClock::wentBack(LogTime before, LogTime after) {
  if (current_.empty() || after >= before) return;
  const std::int64_t shift = at(before) - after;
  current_.clear();
  addStretch(after, shift, after - before);
  last_ = after;
}

AxisTime TimelineClock::at(LogTime time) const {
  if (current_.empty()) return time;
  const auto later =
      std::upper_bound(current_.begin() + 1, current_.end(), time,
                       [](LogTime value, const Stretch& stretch) { return value < stretch.from; });
  return time + (later - 1)->shift;
}

std::uint32_t TextTable::numberOf(std::string_view text) {
  if (text.size() > kMaxLength) {
    return numberOf(std::string(cutToBytes(text, kMaxLength - 3)) + "\u2026");
  }
  if (const auto found = numbers_.find(text); found != numbers_.end()) return found->second;
  if (texts_.size() >= kMaximum) return add("(one of many more)");
  return add(std::string(text));
}

std::uint32_t TextTable::add(std::string text) {
  if (const auto found = numbers_.find(text); found != numbers_.end()) return found->second;
  texts_.push_back(std::move(text));
  const auto number = static_cast<std::uint32_t>(texts_.size() - 1);
  numbers_.emplace(texts_.back(), number);
  return number;
}

void SpanStore::add(const TimelineSpan& span) {
  spans_.push_back(span);
  if (spans_.size() > kMaximum) compact();
}

void SpanStore::sort() {
  std::stable_sort(
      spans_.begin(), spans_.end(),
      [](const TimelineSpan& one, const TimelineSpan& other) { return one.begin < other.begin; });
}

const std::vector<TimelineSpan>& SpanStore::finish() {
  sort();
  if (merged_ > 0) merge();
  return spans_;
}

// Merges near neighbours with the same text first, then those farther apart. If that does not help
// because all texts differ, merges those of the same holder, and at last any.
void SpanStore::compact() {
  sort();
  const std::int64_t range = std::max<std::int64_t>(1, spans_.back().begin - spans_.front().begin);
  for (;;) {
    merge();
    if (spans_.size() <= kMaximum / 2) return;
    gap_ *= 2;
    if (likeness_ == AllTexts && gap_ > range / 256) {
      likeness_ = Holder;
      gap_ = std::max<std::int64_t>(1, range / 1024);
    } else if (likeness_ == Holder && gap_ > range / 16) {
      likeness_ = Nothing;
      gap_ = std::max<std::int64_t>(1, range / 1024);
    }
  }
}

// Merges each span that is not longer than the gap with a like one that is not farther away.
void SpanStore::merge() {
  struct Hash {
    std::size_t operator()(const std::array<std::uint64_t, 4>& key) const {
      std::uint64_t hash = 1469598103934665603U;
      for (const std::uint64_t part : key) hash = (hash ^ part) * 1099511628211U;
      return hash;
    }
  };
  std::unordered_map<std::array<std::uint64_t, 4>, std::size_t, Hash> last;
  std::vector<TimelineSpan> kept;
  kept.reserve(spans_.size());
  for (const TimelineSpan& span : spans_) {
    std::array<std::uint64_t, 4> key{};
    if (likeness_ == Holder) key[0] = span.who;
    if (likeness_ == AllTexts)
      key = {span.who, static_cast<std::uint64_t>(span.pid), span.what, span.detail};
    const auto [found, isNew] = last.try_emplace(key, kept.size());
    if (!isNew) {
      TimelineSpan& before = kept[found->second];
      const bool isShort =
          span.end - span.begin <= gap_ && (before.count > 1 || before.end - before.begin <= gap_);
      // A chain of many would cover too long a time.
      if (isShort && span.begin - before.end <= gap_ && span.end - before.begin <= 8 * gap_) {
        before.end = std::max(before.end, span.end);
        before.held += span.held;
        before.count += span.count;
        if (before.what != span.what) before.what = 0;
        if (before.detail != span.detail) before.detail = 0;
        if (before.who != span.who) before.who = 0;
        if (before.pid != span.pid) before.pid = 0;
        before.endKnown = span.endKnown;
        continue;
      }
      found->second = kept.size();
    }
    kept.push_back(span);
  }
  merged_ += spans_.size() - kept.size();
  spans_ = std::move(kept);
}

void CurveStore::add(AxisTime at, double value) {
  add({at / width_, {at, value}, {at, value}});
  if (buckets_.size() <= kMaxBuckets) return;
  while (buckets_.size() > kMaxBuckets / 2) {
    width_ *= 2;
    std::vector<Bucket> narrow;
    narrow.swap(buckets_);
    for (Bucket bucket : narrow) {
      bucket.number /= 2;
      add(bucket);
    }
  }
}

void CurveStore::add(const Bucket& bucket) {
  // If the time goes back a little, it stays in the bucket.
  if (buckets_.empty() || bucket.number > buckets_.back().number) {
    buckets_.push_back(bucket);
    return;
  }
  Bucket& last = buckets_.back();
  if (bucket.least.value < last.least.value) last.least = bucket.least;
  if (bucket.greatest.value > last.greatest.value) last.greatest = bucket.greatest;
}

std::vector<CurveStore::Point> CurveStore::points() const {
  std::vector<Point> points;
  for (const Bucket& bucket : buckets_) {
    const bool rises = bucket.least.at <= bucket.greatest.at;
    const Point& first = rises ? bucket.least : bucket.greatest;
    const Point& second = rises ? bucket.greatest : bucket.least;
    points.push_back(first);
    if (second.at != first.at || second.value != first.value) points.push_back(second);
  }
  return points;
}

void Work::add(const Use& use) {
  for (Use& known : busiest) {
    if (known.name == use.name && known.pid == use.pid) {
      known.amount += use.amount;
      return;
    }
  }
  busiest.push_back(use);
}

void Work::keepBusiest() {
  std::stable_sort(busiest.begin(), busiest.end(),
                   [](const Use& one, const Use& other) { return one.amount > other.amount; });
  if (busiest.size() > kNamed) busiest.resize(kNamed);
}

Work& Work::operator+=(const Work& more) {
  amount += more.amount;
  for (const Use& use : more.busiest) add(use);
  keepBusiest();
  return *this;
}

}  // namespace zorva

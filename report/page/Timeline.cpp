// SPDX-License-Identifier: Apache-2.0
#include "report/page/Timeline.h"

#include <utility>

#include "platform/base/Text.h"
#include "report/page/PageJson.h"

namespace zorva {
namespace {

constexpr unsigned kBeginUnknown = 1;
constexpr unsigned kEndUnknown = 2;
constexpr unsigned kMerged = 4;

void appendNumbers(std::string& to, std::initializer_list<std::int64_t> numbers) {
  for (const std::int64_t number : numbers) {
    if (to.back() != '[') to += ',';
    to += std::to_string(number);
  }
}

}  // namespace

std::string_view Timeline::laneName(std::size_t lane) {
  constexpr std::string_view kNames[kAllLanes] = {
      "asleep",   "display",   "assertion",  "call",         "data",
      "wifi",     "bluetooth", "audio",      "application",  "thermal",
      "charging", "location",  "registered", "weak_charger", "not_charged",
      "wakes",    "errors",    "events",     "silent"};
  return kNames[lane];
}

std::string_view Timeline::curveName(std::size_t curve) {
  constexpr std::string_view kNames[kCurves] = {"level",  "current",  "temperature",
                                                "signal", "received", "sent"};
  return kNames[curve];
}

std::uint32_t Timeline::number(std::string_view text) {
  return text.empty() ? 0 : texts_.numberOf(safeText(text.substr(0, 2 * TextTable::kMaxLength)));
}

void Timeline::span(const LogSpan& reported) {
  const LogTime begin = std::max(reported.begin, window_.since);
  const LogTime end = std::min(reported.end, window_.until);
  if (end < begin) return;
  TimelineSpan span;
  span.begin = clock_.at(begin);
  span.end = std::max(span.begin, clock_.at(end));
  span.held = end - begin;
  span.first = reported.first;
  span.pid = reported.pid;
  span.who = number(reported.who);
  span.what = number(reported.what);
  span.beginKnown = reported.beginKnown && begin == reported.begin;
  span.endKnown = reported.endKnown && end == reported.end;
  lanes_[static_cast<std::size_t>(reported.lane)].add(span);
}

void Timeline::sample(Curve curve, LogTime time, double value, LogPosition) {
  if (!window_.holds(time)) return;
  const AxisTime at = clock_.at(time);
  if (curve == Curve::Received) {
    traffic_.add(trafficAt_.value_or(at), at, {value, 0});
    trafficAt_ = at;
  } else if (curve == Curve::Sent) {
    // Reported for the same moment, after the received bytes.
    if (Traffic* last = traffic_.last()) last->sent += value;
  } else {
    curves_[static_cast<std::size_t>(curve)].add(at, value);
  }
}

void Timeline::wake(const LogWake& wake) {
  if (!window_.holds(wake.time)) return;
  TimelineSpan span;
  span.begin = span.end = clock_.at(wake.time);
  span.first = wake.position;
  span.who = number(wake.owner);
  span.pid = wake.ownerPid;
  span.what = number(wake.reason);
  span.detail = number(wake.decoded);
  lanes_[kWakes].add(span);
}

void Timeline::moment(const LogMoment& moment) {
  if (!window_.holds(moment.time)) return;
  TimelineSpan span;
  span.begin = span.end = clock_.at(moment.time);
  span.first = moment.position;
  span.what = number(moment.category);
  span.detail = number(moment.text);
  lanes_[moment.isError ? kErrors : kEvents].add(span);
}

void Timeline::addWork(IntervalStore<Work>& to, LogTime from, LogTime until, LogPosition position,
                       std::vector<Work::Use> uses) {
  Work work;
  work.position = position;
  for (const Work::Use& use : uses) work.amount += use.amount;
  work.busiest = std::move(uses);
  work.keepBusiest();
  to.add(clock_.at(from), clock_.at(until), work);
}

void Timeline::processes(LogTime from, LogTime to, std::span<const ProcessUse> uses,
                         LogPosition position) {
  if (!window_.holds(to)) return;
  std::vector<Work::Use> all;
  for (const auto& [name, pid, seconds] : uses) all.push_back({number(name), pid, seconds});
  addWork(work_, from, to, position, std::move(all));
}

void Timeline::modem(LogTime from, LogTime to, std::span<const ModemUse> uses,
                     LogPosition position) {
  if (!window_.holds(to)) return;
  std::vector<Work::Use> all;
  for (const auto& [state, milliseconds] : uses) all.push_back({number(state), 0, milliseconds});
  addWork(modem_, from, to, position, std::move(all));
}

void Timeline::interruption(LogTime before, LogTime after, LogPosition position) {
  clock_.wentBack(before, after);
  trafficAt_.reset();
  // The axis ends at the window's first and last entries.
  if (after <= before || !window_.holds(before) || !window_.holds(after)) return;
  TimelineSpan span;
  span.begin = clock_.at(before);
  span.end = clock_.at(after);
  span.held = after - before;
  span.first = position;
  lanes_[kSilent].add(span);
}

void Timeline::appendLanes(std::string& to) {
  to += "\"lanes\":{";
  for (std::size_t lane = 0; lane < kAllLanes; ++lane) {
    if (lane > 0) to += ',';
    const auto& spans = lanes_[lane].finish();
    to += formatText("\n\"%s\":{\"merged\":%llu,\"spans\":[", std::string(laneName(lane)).c_str(),
                     static_cast<unsigned long long>(lanes_[lane].merged()));
    TimelineSpan before;
    before.begin = clock_.begin();
    for (const TimelineSpan& span : spans) {
      const bool merged = span.count > 1;
      const unsigned flags = (span.beginKnown ? 0 : kBeginUnknown) |
                             (span.endKnown ? 0 : kEndUnknown) | (merged ? kMerged : 0);
      appendNumbers(to, {span.begin - before.begin, span.end - span.begin,
                         static_cast<std::int64_t>(span.first - before.first), span.who, span.pid,
                         span.what, span.detail, flags});
      if (merged) appendNumbers(to, {span.count, span.held});
      before = span;
    }
    to += "]}";
  }
  to += "},\n";
}

void Timeline::appendCurves(std::string& to) const {
  to += "\"curves\":{";
  bool first = true;
  for (std::size_t curve = 0; curve < kCurves; ++curve) {
    const auto points = curves_[curve].points();
    if (points.empty()) continue;
    if (!first) to += ',';
    first = false;
    to += formatText("\n\"%s\":{\"width\":%lld,\"points\":[", std::string(curveName(curve)).c_str(),
                     static_cast<long long>(curves_[curve].width()));
    AxisTime before = clock_.begin();
    for (const CurveStore::Point& point : points) {
      appendNumbers(to, {point.at - before});
      to += ',';
      appendPageNumber(to, point.value);
      before = point.at;
    }
    to += "]}";
  }
  to += "},\n";
}

void Timeline::appendIntervals(std::string& to) const {
  to += "\"traffic\":[";
  for (const auto& [begin, end, amount] : traffic_.intervals()) {
    appendNumbers(to, {begin - clock_.begin(), end - begin});
    to += ',';
    appendPageNumber(to, amount.received);
    to += ',';
    appendPageNumber(to, amount.sent);
  }
  to += "],\n\"work\":[";
  appendWork(to, work_);
  to += "],\n\"modem\":[";
  appendWork(to, modem_);
  to += "],\n";
}

void Timeline::appendWork(std::string& to, const IntervalStore<Work>& intervals) const {
  for (const auto& [begin, end, work] : intervals.intervals()) {
    if (to.back() != '[') to += ',';
    to += '[';
    appendNumbers(to, {begin - clock_.begin(), end - begin,
                       static_cast<std::int64_t>(work.position), work.amount});
    for (const Work::Use& use : work.busiest) appendNumbers(to, {use.name, use.pid, use.amount});
    to += ']';
  }
}

void Timeline::appendJson(std::string& to) {
  to += "{\n\"range\":[";
  appendNumbers(to, {clock_.begin(), clock_.end()});
  to += "],\n\"clock\":[";
  for (const TimelineClock::Stretch& stretch : clock_.stretches()) {
    appendNumbers(to, {stretch.at, stretch.shift, stretch.jump});
  }
  to += "],\n";
  appendLanes(to);
  appendCurves(to);
  appendIntervals(to);
  to += "\"texts\":[";
  for (const std::string& text : texts_.texts()) {
    if (to.back() != '[') to += ',';
    appendPageText(to, text);
  }
  to += "]\n}";
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/export/Trace.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "platform/base/Text.h"
#include "report/export/JsonText.h"
#include "report/export/LogJson.h"

namespace zorva {
namespace {

constexpr LogTime kMicroseconds = 1'000'000;  // of a second
constexpr int kDevice = 1;                    // the trace's processes
constexpr int kBusiest = 2;
constexpr std::size_t kMaxBusiest = 5;
constexpr std::size_t kMaxName = 100;  // bytes of an event's text that are its name
// The order of threads: lanes, with kRows places for the holders of each, then instants.
constexpr int kRows = 1000;
constexpr int kWakes = 0;  // first
constexpr int kErrors = (static_cast<int>(kLanes) + 1) * kRows;
constexpr int kEvents = kErrors + 1;

constexpr std::string_view kLaneNames[kLanes] = {
    "Asleep",   "Display",   "Assertion",  "Call",         "Data",
    "Wi-Fi",    "Bluetooth", "Audio",      "Application",  "Thermal",
    "Charging", "Location",  "Registered", "Weak charger", "Not charged"};

struct CurveName {
  std::string_view name;
  std::string_view unit;
};
constexpr CurveName kCurveNames[] = {{"Battery level", "%"},       {"Battery current", "mA"},
                                     {"Battery temperature", "C"}, {"Signal", "dBm"},
                                     {"Received", "B/s"},          {"Sent", "B/s"}};
constexpr std::string_view kCpu = "CPU use";
constexpr std::string_view kModem = "Modem";

std::string_view shortened(std::string_view text) {
  text = text.substr(0, text.find('\n'));
  if (text.size() <= kMaxName) return text;
  std::size_t end = kMaxName;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

Trace::Trace(std::string& to, const LogWindow& window) : to_(to), window_(window), history_(*this) {
  to_ += R"({"displayTimeUnit":"ms","otherData":{"producer":"zorva-report"},"traceEvents":[)";
  process(kDevice, "Device");
  process(kBusiest, "Busiest processes");
}

void Trace::finish() {
  history_.finish();
  endIntervals();
  to_ += "\n]}\n";
}

// An event without arguments so far, of a process but of no thread.
void Trace::begin(std::string_view phase, std::string_view name, LogTime time) {
  to_ += first_ ? "\n{\"ph\":\"" : ",\n{\"ph\":\"";
  first_ = false;
  inArguments_ = false;
  to_.append(phase).append("\",\"name\":");
  appendJsonText(name, to_);
  to_ += ",\"ts\":";
  appendJsonNumber((time + shift_) * kMicroseconds, to_);
}

void Trace::argument(std::string_view name, std::string_view text) {
  if (text.empty()) return;
  to_ += inArguments_ ? "," : ",\"args\":{";
  inArguments_ = true;
  appendJsonText(name, to_);
  to_ += ':';
  appendJsonText(text, to_);
}

void Trace::number(std::string_view name, double value) {
  to_ += inArguments_ ? "," : ",\"args\":{";
  inArguments_ = true;
  appendJsonText(name, to_);
  to_ += ':';
  appendJsonNumber(value, to_);
}

void Trace::end() {
  to_ += inArguments_ ? "}}" : "}";
}

void Trace::process(int id, std::string_view name) {
  for (const std::string_view what : {"process_name", "process_sort_index"}) {
    begin("M", what, 0);
    to_ += formatText(",\"pid\":%d", id);
    if (what == "process_name") {
      argument("name", name);
    } else {
      number("sort_index", id);
    }
    end();
  }
}

int Trace::thread(int process, std::string_view name, int order) {
  const auto [found, isNew] = named_.try_emplace({process, std::string(name)}, threads_);
  if (!isNew) return found->second;
  ++threads_;
  for (const std::string_view what : {"thread_name", "thread_sort_index"}) {
    begin("M", what, 0);
    to_ += formatText(",\"pid\":%d,\"tid\":%d", process, found->second);
    if (what == "thread_name") {
      argument("name", name);
    } else {
      number("sort_index", order);
    }
    end();
  }
  return found->second;
}

void Trace::slice(int process, int thread, std::string_view name, LogTime from, LogTime to) {
  begin("X", name, from);
  to_ += formatText(",\"dur\":%lld,\"pid\":%d,\"tid\":%d",
                    static_cast<long long>(to - from) * kMicroseconds, process, thread);
  argument("time", isoTime(from));
}

void Trace::instant(std::string_view row, int order, std::string_view name, LogTime time) {
  const int on = thread(kDevice, row, order);
  begin("i", name, time);
  to_ += formatText(",\"s\":\"t\",\"pid\":%d,\"tid\":%d", kDevice, on);
  argument("time", isoTime(time));
}

void Trace::counter(std::string_view name, LogTime time, std::string_view unit, double value) {
  if (!std::isfinite(value)) return;
  begin("C", name, time);
  to_ += formatText(",\"pid\":%d", kDevice);
  number(unit, value);
  end();
}

// Slices of one thread must not overlap: each holder has as many threads as it has states at once.
// What lasted less than a second shares the time of its beginning and end with no other slice, as
// viewers would not know which of the two is in the other.
void Trace::span(const LogSpan& span) {
  const LogTime from = std::max(span.begin, window_.since);
  const LogTime to = std::min(span.end, window_.until);
  const bool isPoint = from == to;
  if (to < from || (isPoint && !(span.beginKnown && span.endKnown))) return;
  const auto lane = static_cast<std::size_t>(span.lane);
  std::string name(kLaneNames[lane]);
  if (!span.who.empty()) name.append(": ").append(span.who);
  std::vector<Row>& rows = rows_[name];
  const LogTime free = from + shift_ - (isPoint ? 1 : 0);
  auto row = std::ranges::find_if(rows, [&](const Row& each) { return each.end <= free; });
  if (row == rows.end()) {
    std::string numbered = name;
    if (!rows.empty()) numbered += " (" + std::to_string(rows.size() + 1) + ")";
    const int order = static_cast<int>(lane + 1) * kRows +
                      static_cast<int>(std::min<std::size_t>(rows_.size(), kRows - 1));
    rows.push_back({free, thread(kDevice, numbered, order)});
    row = rows.end() - 1;
  }
  row->end = to + shift_ + (isPoint ? 1 : 0);
  const std::string_view shown = !span.what.empty()  ? span.what
                                 : !span.who.empty() ? span.who
                                                     : kLaneNames[lane];
  slice(kDevice, row->thread, shortened(shown), from, to);
  if (shown.size() > kMaxName) argument("text", shown);
  if (span.pid != 0) number("pid", static_cast<double>(span.pid));
  if (!span.beginKnown || from != span.begin) argument("begin", "earlier, or not known");
  if (!span.endKnown || to != span.end) argument("end", "later, or not known");
  end();
}

void Trace::sample(Curve curve, LogTime time, double value, LogPosition) {
  const auto& [name, unit] = kCurveNames[static_cast<std::size_t>(curve)];
  if (curve != Curve::Received && curve != Curve::Sent) {
    if (window_.holds(time)) counter(name, time, unit, value);
    return;
  }
  // A counter keeps its value until the next one, so a rate stands where its interval begins.
  auto& last = traffic_[curve == Curve::Received ? 0 : 1];
  if (last && *last < time && window_.holds(*last)) {
    counter(name, *last, unit, value / static_cast<double>(time - *last));
    open_[std::string(name)] = time;
  }
  last = time;
}

void Trace::wake(const LogWake& wake) {
  if (!window_.holds(wake.time)) return;
  instant("Wakes", kWakes, shortened(wake.reason), wake.time);
  argument("decoded", wake.decoded);
  argument("for", wake.owner);
  if (wake.ownerPid != 0) number("pid", static_cast<double>(wake.ownerPid));
  if (wake.asleepSince) number("slept seconds", static_cast<double>(wake.time - *wake.asleepSince));
  end();
}

void Trace::moment(const LogMoment& moment) {
  if (!window_.holds(moment.time)) return;
  instant(moment.isError ? "Errors" : "Events", moment.isError ? kErrors : kEvents,
          shortened(moment.text), moment.time);
  argument("category", moment.category);
  argument("text", moment.text);
  end();
}

void Trace::processes(LogTime from, LogTime to, std::span<const ProcessUse> uses, LogPosition) {
  if (!window_.holds(from) || !window_.holds(to) || to <= from) return;
  std::vector<ProcessUse> busiest(uses.begin(), uses.end());
  const auto length = static_cast<double>(to - from);
  double all = 0;
  for (const ProcessUse& use : uses) all += static_cast<double>(use.seconds);
  counter(kCpu, from, "%", all / length * 100);
  open_[std::string(kCpu)] = to;
  std::ranges::sort(busiest, [](const ProcessUse& one, const ProcessUse& other) {
    return std::tie(other.seconds, one.name, one.pid) <
           std::tie(one.seconds, other.name, other.pid);
  });
  busiest.resize(std::min(busiest.size(), kMaxBusiest));
  for (std::size_t i = 0; i < busiest.size(); ++i) {
    const ProcessUse& use = busiest[i];
    const int place = static_cast<int>(i) + 1;
    const int on = thread(kBusiest, "Place " + std::to_string(place), place);
    slice(kBusiest, on, shortened(use.name), from, to);
    number("pid", static_cast<double>(use.pid));
    number("CPU seconds", static_cast<double>(use.seconds));
    number("% of a processor", static_cast<double>(use.seconds) / length * 100);
    end();
  }
}

void Trace::modem(LogTime from, LogTime to, std::span<const ModemUse> uses, LogPosition) {
  if (!window_.holds(from) || !window_.holds(to) || to <= from) return;
  for (const ModemUse& use : uses) states_.emplace(use.state);
  for (const std::string& state : states_) {
    const auto use = std::ranges::find(uses, state, &ModemUse::state);
    const double milliseconds = use == uses.end() ? 0 : static_cast<double>(use->milliseconds);
    const std::string name = std::string(kModem) + " " + state;
    counter(name, from, "%", milliseconds / static_cast<double>(to - from) / 10);
    open_[name] = to;
  }
}

void Trace::interruption(LogTime before, LogTime after, LogPosition) {
  endIntervals();
  for (auto& last : traffic_) last.reset();
  if (window_.holds(before) || window_.holds(after)) {
    instant("Events", kEvents, "the log was interrupted", before);
    argument("next entry", isoTime(after));
    end();
  }
  shift_ += std::max<LogTime>(0, before - after);
}

// Nothing is known of what comes after the last interval.
void Trace::endIntervals() {
  for (const auto& [name, time] : std::exchange(open_, {})) {
    const bool isTraffic = name == "Received" || name == "Sent";
    counter(name, time, isTraffic ? "B/s" : "%", 0);
  }
}

}  // namespace zorva

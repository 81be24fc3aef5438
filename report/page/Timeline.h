// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/page/TimelineStores.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// Gathers what a page draws of a log: the lanes of states, the curves, and between samples the
/// traffic and the processes' work. It uses some MB, regardless of the log's length. Curves are
/// reduced to the minimum and maximum per bucket of time. Short neighbours in a lane become one
/// span, which has their number.
class Timeline : public LogHistorySink {
 public:
  explicit Timeline(const LogWindow& window = {}) : window_(window) {}

  /// The log continues at this time, which is in the window. To be called before the history gets
  /// the entry.
  void advance(LogTime time) { clock_.advance(time); }

  /// The position on the axis of a time near the last one.
  AxisTime at(LogTime time) const { return clock_.at(time); }

  /// Appends everything as one JSON object, which is safe in a page: no "<" is in it.
  /// report/page/parts/data.js reads it.
  void appendJson(std::string& to);

  void span(const LogSpan& span) override;
  void sample(Curve curve, LogTime time, double value, LogPosition position) override;
  void wake(const LogWake& wake) override;
  void moment(const LogMoment& moment) override;
  void processes(LogTime from, LogTime to, std::span<const ProcessUse> uses,
                 LogPosition position) override;
  void modem(LogTime from, LogTime to, std::span<const ModemUse> uses,
             LogPosition position) override;
  void interruption(LogTime before, LogTime after, LogPosition position) override;

 private:
  // The lanes of spans, those of events without a duration, and that of the time without a log.
  static constexpr std::size_t kWakes = kLanes;
  static constexpr std::size_t kErrors = kLanes + 1;
  static constexpr std::size_t kEvents = kLanes + 2;
  static constexpr std::size_t kSilent = kLanes + 3;
  static constexpr std::size_t kAllLanes = kLanes + 4;
  static constexpr std::size_t kCurves = static_cast<std::size_t>(Curve::Sent) + 1;

  static std::string_view laneName(std::size_t lane);
  static std::string_view curveName(std::size_t curve);
  std::uint32_t number(std::string_view text);
  void addWork(IntervalStore<Work>& to, LogTime from, LogTime until, LogPosition position,
               std::vector<Work::Use> uses);
  void appendLanes(std::string& to);
  void appendCurves(std::string& to) const;
  void appendIntervals(std::string& to) const;
  void appendWork(std::string& to, const IntervalStore<Work>& intervals) const;

  LogWindow window_;
  TimelineClock clock_;
  TextTable texts_;
  std::array<SpanStore, kAllLanes> lanes_;
  std::array<CurveStore, kCurves> curves_;
  IntervalStore<Traffic> traffic_;
  std::optional<AxisTime> trafficAt_;
  IntervalStore<Work> work_;   // seconds of the processes
  IntervalStore<Work> modem_;  // milliseconds of the modem in its states
};

}  // namespace zorva

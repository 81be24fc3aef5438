// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// Writes a log as a trace for the viewers of Chrome's JSON trace format, such as Perfetto;
/// docs/export.md describes it. The log's lanes are threads with slices, its curves are counters,
/// wakes, errors and events are instants, and the busiest processes of each interval are slices of
/// a second process. Events are written as the log is read, so the memory needed grows only with
/// the number of threads.
///
/// Timestamps are microseconds since 1970 of the log's local time, as if it were UTC. Where that
/// goes back, the trace continues; each event has the local time, too.
class Trace : private LogHistorySink {
 public:
  /// Appends the trace to a text. Its owner may write it out and empty it between any two calls.
  explicit Trace(std::string& to, const LogWindow& window = {});

  /// The next piece of the log, from any of its files. Pieces outside the window are not shown, but
  /// determine the state in which it begins.
  void add(const LogRecord& record) { history_.add(record); }
  /// The log is over: appends the rest of the trace.
  void finish();

 private:
  struct Row {
    LogTime end;
    int thread;
  };

  void span(const LogSpan& span) override;
  void sample(Curve curve, LogTime time, double value, LogPosition) override;
  void wake(const LogWake& wake) override;
  void moment(const LogMoment& moment) override;
  void processes(LogTime from, LogTime to, std::span<const ProcessUse> uses, LogPosition) override;
  void modem(LogTime from, LogTime to, std::span<const ModemUse> uses, LogPosition) override;
  void interruption(LogTime before, LogTime after, LogPosition) override;

  void begin(std::string_view phase, std::string_view name, LogTime time);
  void argument(std::string_view name, std::string_view text);
  void number(std::string_view name, double value);
  void end();
  void slice(int process, int thread, std::string_view name, LogTime from, LogTime to);
  void instant(std::string_view thread, int order, std::string_view name, LogTime time);
  void counter(std::string_view name, LogTime time, std::string_view unit, double value);
  void process(int id, std::string_view name);
  int thread(int process, std::string_view name, int order);
  void endIntervals();

  std::string& to_;
  const LogWindow window_;
  bool first_ = true;  // no event has been written
  bool inArguments_ = false;
  LogTime shift_ = 0;  // by which the trace is ahead of the log
  int threads_ = 10;   // a thread with the number of its process would count as its main thread
  std::map<std::pair<int, std::string>, int, std::less<>> named_;
  std::map<std::string, std::vector<Row>, std::less<>> rows_;  // by lane and holder
  std::map<std::string, LogTime> open_;  // counters of an interval, by name, and where it ends
  std::optional<LogTime> traffic_[2];    // when it was counted last: received, sent
  std::set<std::string, std::less<>> states_;  // of the modem
  LogHistory history_;
};

}  // namespace zorva

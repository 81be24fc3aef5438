// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "report/analyse/LogHistory.h"
#include "report/read/LogReader.h"

namespace zorva {

/// Reports what a growing log says, in sentences: one line each, "16 Nov 21:46:40  ...", safe for
/// terminals.
class LogNews {
 public:
  using Print = std::function<void(const std::string& line)>;

  /// An assertion that kept the device awake for less than this is not reported.
  static constexpr LogTime kMinAssertionDuration = 60;
  /// One that still keeps the device awake is reported after this time with a dark display, then
  /// after twice that time, and so on.
  static constexpr LogTime kLongHold = 5 * LogTime{60};

  explicit LogNews(Print print);
  ~LogNews();

  /// The next piece of the log. Its events are printed if `told`; otherwise they are only known.
  void add(const LogRecord& record, bool told);
  /// Reports the assertions that have been held for long already.
  void begin();
  /// No piece has come for so many seconds.
  void silent(LogTime seconds);
  /// After how many seconds without a piece silent() would have something to report.
  std::optional<LogTime> due() const;
  void finish();

  /// The last one that was reported, in percent.
  std::optional<double> level() const;

 private:
  class Sink;
  std::unique_ptr<Sink> sink_;
};

}  // namespace zorva

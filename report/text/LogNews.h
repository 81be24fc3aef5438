// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "report/analyse/LogHistory.h"

namespace zorva {

/// Reports events as they come, in sentences: one line each, "21:46:40  ...", safe for terminals.
class LogNews : public LogHistorySink {
 public:
  using Print = std::function<void(const std::string& line)>;

  /// An assertion that was held for less than this is not reported.
  static constexpr LogTime kMinAssertionDuration = 60;

  explicit LogNews(Print print) : print_(std::move(print)) {}

  void span(const LogSpan& span) override;
  void sample(Curve curve, LogTime time, double value, LogPosition position) override;
  void fallsAsleep(LogTime time) override;
  void wake(const LogWake& wake) override;
  void moment(const LogMoment& moment) override;
  void interruption(LogTime before, LogTime after, LogPosition position) override;

  std::optional<double> level() const { return level_; }

 private:
  void say(LogTime time, const std::string& text);

  Print print_;
  std::optional<double> level_;  // the last one reported
  LogTime levelTime_ = 0;
};

}  // namespace zorva

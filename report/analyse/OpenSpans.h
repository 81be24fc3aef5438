// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "report/analyse/LogHistory.h"

namespace zorva {

/// A point of the log.
struct LogMark {
  LogTime time = 0;
  LogPosition position = 0;
};

/// A state, without its lane. A lane may hold several states, which differ in their keys.
struct LogState {
  std::string_view key = {};
  std::string_view who = {};
  std::int64_t pid = 0;
  std::string_view what = {};
};

/// The states that last at the moment. Each is reported as a span when it ends.
class OpenSpans {
 public:
  explicit OpenSpans(LogHistorySink& sink) : sink_(sink) {}

  /// The log begins or restarts: nothing is known about the time before.
  void beginAt(const LogMark& mark);

  /// Another snapshot begins. States that it does not confirm ended at an unknown time after the
  /// last entry before it.
  void beginSnapshot(const LogMark& last, LogTime now);
  /// To be called at each entry. Once the snapshot is over, ends the states that it has not
  /// confirmed.
  void passTime(LogTime now);
  bool inSnapshot(LogTime now) const { return now <= snapshotEnd_; }

  /// A state begins or continues. A different "what" ends it and begins another.
  void on(Lane lane, const LogState& state, const LogMark& now);
  /// A state ends, unless it has ended already.
  void off(Lane lane, std::string_view key, const LogMark& now);

  /// An assertion that is listed, created or released. It is identified by its key and its
  /// beginning.
  void assertionHeld(const LogState& state, LogTime since, const LogMark& now);
  void assertionCreated(const LogState& state, const LogMark& now);
  void assertionReleased(const LogState& state, LogTime since, const LogMark& now);

  /// When the log began, or since when its time has not gone back.
  LogTime start() const { return start_; }

  /// As in LogHistory.
  std::vector<LogSpan> lasting(Lane lane) const;
  bool knows(Lane lane) const { return seen_[static_cast<std::size_t>(lane)]; }

  /// When the current sleep began.
  const std::optional<LogTime>& asleepSince() const { return asleepSince_; }

  /// Ends a state whose end was not seen. Its time is a guess.
  void lose(Lane lane, const LogMark& at);
  /// Ends all states in this way.
  void loseAll(const LogMark& at);
  /// The clock has been set: all states continue from now on, in the new time.
  void continueAt(const LogMark& last, const LogMark& now);

 private:
  struct Open {
    Lane lane;
    std::string key;
    std::string who;
    std::int64_t pid;
    std::string what;
    LogTime begin;
    bool beginKnown;
    bool confirmed;
    LogPosition first;
    std::optional<LogTime> listed;  // assertions: when it was last listed as held
  };

  Open* find(Lane lane, std::string_view key);
  Open* findAssertion(std::string_view key, LogTime since);
  void open(Lane lane, const LogState& state, LogTime begin, bool known, const LogMark& now);
  void report(const Open& open, const LogMark& end, bool known);
  void close(Open& open, const LogMark& now);

  LogHistorySink& sink_;
  std::vector<Open> open_;
  std::array<bool, kLanes> seen_{};
  std::optional<LogTime> asleepSince_;
  LogTime start_ = 0;
  LogTime snapshotEnd_ = 0;
  bool snapshotPending_ = false;
  LogMark last_;  // before the snapshot
};

}  // namespace zorva

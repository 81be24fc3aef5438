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

/// What a state is, beside its lane. In one lane there may be several, told apart by their keys.
struct LogState {
  std::string_view key = {};
  std::string_view who = {};
  std::int64_t pid = 0;
  std::string_view what = {};
};

/// The states that last at the moment, told as spans when they end.
class OpenSpans {
 public:
  explicit OpenSpans(LogHistorySink& sink) : sink_(sink) {}

  /// The log begins, or begins anew: nothing is known of before.
  void beginAt(const LogMark& mark);

  /// The log is headed by a snapshot once more: what that does not confirm has ended at an unknown
  /// time behind the last entry before.
  void beginSnapshot(const LogMark& last, LogTime now);
  /// To be called at each entry: ends what the snapshot has not confirmed once that is over.
  void passTime(LogTime now);
  bool inSnapshot(LogTime now) const { return now <= snapshotEnd_; }

  /// A state begins, or goes on. A different "what" ends it and begins another.
  void on(Lane lane, const LogState& state, const LogMark& now);
  /// A state is over, if it was not already.
  void off(Lane lane, std::string_view key, const LogMark& now);

  /// An assertion that is listed, made or given back. It is known by its key and its beginning.
  void assertionHeld(const LogState& state, LogTime since, const LogMark& now);
  void assertionCreated(const LogState& state, const LogMark& now);
  void assertionReleased(const LogState& state, LogTime since, const LogMark& now);

  /// When the sleep that lasts began.
  const std::optional<LogTime>& asleepSince() const { return asleepSince_; }

  /// Ends a state at a time that is only guessed.
  void lose(Lane lane, const LogMark& at);
  /// Ends all of them so.
  void loseAll(const LogMark& at);
  /// The time has been set: all go on from now on, in the new time.
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
    std::optional<LogTime> listed;  // assertions: when it was last seen to be held
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

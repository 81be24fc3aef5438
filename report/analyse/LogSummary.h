// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/read/LogReader.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// The summary of a log, or of a window of it. Times are in seconds, charge is in percent of a full
/// battery. Lists are in descending order of their figures, unless stated otherwise.
struct LogSummary {
  /// Something that happens several times.
  struct Tally {
    std::string name;
    std::string detail;
    std::uint64_t count = 0;
    LogTime seconds = 0;
    LogTime longest = 0;
    bool goesOn = false;  ///< it lasted when the log or the window ended
  };
  /// How the charge changed over some time.
  struct Charge {
    double percent = 0;
    LogTime seconds = 0;
    /// Empty for less than a minute.
    std::optional<double> perHour() const;
  };
  struct Sleep {
    LogTime begin;
    LogTime end;
    bool endKnown;
    bool goesOn;          ///< after the end of the window
    std::string reason;   ///< of the wake; empty where it was not seen
    std::string decoded;  ///< as in LogWake
    std::string owner;    ///< as in LogWake
    std::int64_t ownerPid = 0;
  };
  struct Interruption {
    LogTime before;
    LogTime after;
  };
  struct Amount {
    std::string name;
    std::int64_t amount;
  };
  struct Error {
    std::string text;
    std::uint64_t count;
    LogTime first;
  };

  std::uint64_t entries = 0;
  LogTime first = 0;    ///< where the covered period begins; 0 if there is none
  LogTime last = 0;     ///< where it ends, in the order of the log
  LogTime covered = 0;  ///< how long that is, without the log's interruptions

  /// Nothing is known of the requested time.
  bool isEmpty() const { return entries == 0 && covered == 0; }

  const std::vector<Tally>& lane(Lane of) const { return lanes[static_cast<std::size_t>(of)]; }
  /// The time in any state of a lane.
  LogTime seconds(Lane of) const;
  /// The time that was spent neither asleep nor on a charger.
  LogTime awakeOnBattery() const;

  std::optional<double> firstLevel;
  std::optional<double> lastLevel;
  /// What was used between two samples of the level counts as asleep or awake if nearly all of the
  /// time between them was, and as mixed otherwise. A level that rises without a charger counts as
  /// negative.
  Charge asleep;
  Charge awake;
  Charge mixed;
  Charge charging;         ///< what was gained on a charger
  double interrupted = 0;  ///< percent used during interruptions of the log
  LogTime asleepOnCharger = 0;

  std::uint64_t sleeps = 0;
  LogTime asleepSeconds = 0;
  std::vector<Sleep> longestSleeps;  ///< in their order; at most kMaxSleeps
  std::uint64_t wakes = 0;
  std::vector<Tally> wakeReasons;  ///< by count
  std::vector<Tally> wakeOwners;   ///< by count: the process, or the packet that none expected
  /// By time: how long each lane was in each state. `name` is who, `detail` is what. Displays have
  /// no detail, as their brightness takes any number of values.
  std::array<std::vector<Tally>, kLanes> lanes;
  std::vector<Amount> processes;        ///< CPU seconds, of all processes of that name
  LogTime processSeconds = 0;           ///< the time over which they were seen
  std::vector<Amount> modem;            ///< milliseconds in each state of power, in no order
  bool traffic = false;                 ///< it was counted
  double received = 0;                  ///< bytes
  double sent = 0;                      ///< bytes
  std::optional<double> weakestSignal;  ///< dBm
  std::optional<double> strongestSignal;

  std::vector<Error> errors;  ///< of different texts, in their order; at most kMaxErrors
  std::uint64_t errorCount = 0;
  std::vector<Interruption> interruptions;  ///< the first, at most kMaxInterruptions
  std::uint64_t interruptionCount = 0;

  static constexpr std::size_t kMaxSleeps = 12;
  static constexpr std::size_t kMaxErrors = 10;
  static constexpr std::size_t kMaxInterruptions = 5;
};

/// Sums up a log piece by piece. Its memory grows with the number of different names and of level
/// samples, but not otherwise with the log.
class LogSummarizer {
 public:
  explicit LogSummarizer(const LogWindow& window = {});
  ~LogSummarizer();

  void add(const LogRecord& record);
  /// To be called once, at the end.
  LogSummary finish();

 private:
  class Sink;
  std::unique_ptr<Sink> sink_;
  LogHistory history_;
};

}  // namespace zorva

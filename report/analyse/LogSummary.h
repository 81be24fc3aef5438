// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/analyse/PowerIntervals.h"
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
    // Of assertions only:
    LogTime awake = 0;          ///< held while the device was awake
    LogTime dark = 0;           ///< of that, while its display was dark
    std::uint64_t refused = 0;  ///< sleeps that were refused, or failed, while it was held
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
    std::optional<LogTime> hardware = {};  ///< seconds in the deepest state, as the kernel counts
    std::string mode = {};                 ///< "s2idle", "deep"; empty where it is not known
  };
  /// An attempt to sleep that was refused or has failed.
  struct Refusal {
    LogTime time;
    std::string step;    ///< of the kernel, that failed; empty if it is not known
    std::string device;  ///< that failed
    std::string holder;  ///< what kept the device awake at that moment: "process: name"
  };
  /// An assertion that was held for long while the device was awake with a dark display.
  struct DarkHold {
    std::string name;
    std::string detail;
    LogTime begin;
    LogTime end;
  };
  /// The same hours of the log's other days, as far as they are in it and on battery.
  struct OtherDays {
    std::size_t days = 0;
    double percent = 0;
    LogTime seconds = 0;
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
  /// Between readings of the battery; their names are in `names`.
  std::vector<PowerInterval> intervals;
  std::vector<std::string> names;
  OtherDays otherDays;     ///< of a window with a beginning
  double interrupted = 0;  ///< percent used during interruptions of the log
  LogTime asleepOnCharger = 0;
  std::optional<double> volts;     ///< the mean of all readings on battery, else of all
  std::optional<double> capacity;  ///< of the full battery in milliampere hours, the latest
  BatteryLife batteryLife;
  /// What one percent of the full battery is; empty without a capacity or a voltage.
  std::optional<double> wattHoursPerPercent() const;

  std::uint64_t sleeps = 0;
  LogTime asleepSeconds = 0;
  std::vector<Sleep> longestSleeps;  ///< in their order; at most kMaxSleeps
  LogTime recordedAsleep = 0;        ///< seconds of sleep of which the hardware's part is counted
  LogTime hardwareAsleep = 0;        ///< that part
  std::vector<Refusal> refusals;     ///< the first kMaxRefusals
  std::uint64_t refusalCount = 0;
  std::vector<DarkHold> darkHolds;  ///< dark for kLongDark at least; the longest kMaxDarkHolds
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
  LogTime signalSeconds = 0;             ///< for how long the signal was known while awake
  LogTime weakSignalSeconds = 0;         ///< of these, at or below kWeakSignal
  std::optional<double> hottestBattery;  ///< degrees Celsius

  std::vector<Error> errors;  ///< of different texts, in their order; at most kMaxErrors
  std::uint64_t errorCount = 0;
  std::vector<Interruption> interruptions;  ///< the first, at most kMaxInterruptions
  std::uint64_t interruptionCount = 0;

  static constexpr std::size_t kMaxSleeps = 12;
  static constexpr std::size_t kMaxRefusals = 1000;
  static constexpr LogTime kLongDark = 15 * LogTime{60};
  static constexpr std::size_t kMaxDarkHolds = 200;
  static constexpr std::size_t kMaxErrors = 10;
  /// dBm; below it modems send with far more power, and often lose the network.
  static constexpr double kWeakSignal = -105;
  static constexpr std::size_t kMaxInterruptions = 5;
};

/// Sums up a log piece by piece. Its memory grows with the number of different names, and up to an
/// interruption of the log with that of states, but not otherwise with the log.
class LogSummarizer {
 public:
  explicit LogSummarizer(const LogWindow& window = {});
  ~LogSummarizer();

  void add(const LogRecord& record);
  /// To be called once, at the end.
  LogSummary finish();

 private:
  class Sink;
  static constexpr std::uint64_t kSettledAfter = 20000;  // entries

  std::unique_ptr<Sink> sink_;
  LogHistory history_;
  std::uint64_t added_ = 0;
};

}  // namespace zorva

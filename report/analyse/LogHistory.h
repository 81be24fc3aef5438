// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "report/read/LogReader.h"

namespace zorva {

/// A state of the device that lasts.
enum class Lane {
  Asleep,
  Display,      ///< lit; what: "140/255"
  Assertion,    ///< who: the process that keeps the device awake; what: the assertion's name
  Call,         ///< what: "Active", "Ringing"
  Data,         ///< the modem's data connection; what: "DCH"
  WiFi,         ///< switched on; what: the network, or "<disassociated>"
  Bluetooth,    ///< switched on; what: "connected" or empty
  Audio,        ///< playing; what: the route
  Application,  ///< in the foreground or background; who: its id; what: the mode
  Thermal,      ///< above level 0; what: the level
  Charging,     ///< on a charger that the battery does not feed; what: the charging state
  Location,     ///< a source of positions is in use; what: which
  Registered,   ///< with a mobile network; who: the operator; what: the kind, "3G"
  WeakCharger,  ///< on a charger, but the battery discharges; what: the charging state
  NotCharged,   ///< too warm or too cold to be charged; what: the charging state
};
inline constexpr std::size_t kLanes = static_cast<std::size_t>(Lane::NotCharged) + 1;

/// A piece of the log: the number of pieces, of all files, before it.
using LogPosition = std::uint64_t;

/// A stretch of time in one state. The texts are valid during the call. Where the log's time is set
/// back, a state that continues is reported as two stretches. None begins before the first entry of
/// its log, even if the log reports an earlier start ("held_for").
struct LogSpan {
  Lane lane;
  LogTime begin;
  LogTime end;            ///< not before begin
  bool beginKnown;        ///< false: it had begun before it was first seen
  bool endKnown;          ///< false: the log ends, or was interrupted, while it lasted
  std::string_view who;   ///< empty where the lane has none
  std::int64_t pid;       ///< of who; 0 where it is not reported
  std::string_view what;  ///< empty where the lane has none
  LogPosition first;      ///< the entry that reported the beginning
  LogPosition last;       ///< the entry that reported the end
};

/// A value that is sampled.
enum class Curve {
  Level,        ///< percent
  Current,      ///< milliamperes, negative while the battery discharges
  Temperature,  ///< of the battery, degrees Celsius
  Signal,       ///< dBm
  Received,     ///< bytes of all interfaces since the sample before
  Sent,         ///< bytes
};

/// The end of a sleep.
struct LogWake {
  LogTime time;
  std::optional<LogTime> asleepSince;
  std::string_view reason;   ///< "exton2(bb)"
  std::string_view decoded;  ///< the packet in one line: "TCP 198.51.100.24:5223 to port
                             ///< 49160", "Incoming SMS"; empty when it was not the modem
  std::string_view owner;    ///< the process whose socket it was for; empty when none is known
  std::int64_t ownerPid;     ///< 0 when none is known
  LogPosition position;
};

/// An event without a duration: an error, a pushed message, an accessory.
struct LogMoment {
  LogTime time;
  std::string_view category;  ///< as in the log
  std::string_view text;      ///< the body, trimmed
  bool isError;
  LogPosition position;
};

/// How much CPU time a process used since the sample before.
struct ProcessUse {
  std::string_view name;
  std::int64_t pid;
  std::int64_t seconds;  ///< positive
};

/// How long the modem was in a state of power since the sample before.
struct ModemUse {
  std::string_view state;     ///< in the modem's own words: "Sleep", "Active"
  std::int64_t milliseconds;  ///< positive
};

/// A reading of the battery.
struct BatteryReading {
  LogTime time;
  double level;  ///< percent
  std::optional<double> volts;
  std::optional<double> milliamperes;  ///< negative while it discharges
  std::optional<double> capacity;      ///< of the full battery, in milliampere hours
};

/// By how much a counter has grown since the sample before.
struct Growth {
  std::string_view name;
  double amount;  ///< positive
};

/// Traffic since the sample before, by the interfaces' names: in bytes, both directions.
struct TrafficUse {
  double modem = 0;   ///< "pdp_ip...", "wwan..."
  double others = 0;  ///< all but loopback
};

/// What the kernel recorded of a sleep.
struct SleepRecord {
  LogTime time;
  LogTime asleep;                   ///< seconds since the record before
  std::optional<LogTime> hardware;  ///< of these, in the deepest state
  std::string_view mode;            ///< "s2idle", "deep"
  bool failed;                      ///< the attempt
  std::string_view failedStep;      ///< empty if none has failed
  std::string_view failedDevice;
  std::string_view blockedBy;  ///< "name (00:00:12), ..."; empty for nothing
  LogPosition position;
};

/// What the device says of its battery's life.
struct BatteryLife {
  std::int64_t cycles = 0;            ///< 0: not known
  std::optional<double> capacity;     ///< when full now, in milliampere hours
  std::optional<double> newCapacity;  ///< when it was new
};

/// Receives what a log says, in the order of the log. A span is reported when it ends.
class LogHistorySink {
 public:
  virtual ~LogHistorySink() = default;
  virtual void span(const LogSpan&) {}
  /// A sleep begins. Its span is reported when it has ended.
  virtual void fallsAsleep(LogTime) {}
  virtual void sample(Curve, LogTime, double, LogPosition) {}
  virtual void wake(const LogWake&) {}
  virtual void moment(const LogMoment&) {}
  /// The processes that used CPU time between two samples, in no order. Not called for the first
  /// sample.
  virtual void processes(LogTime /*from*/, LogTime /*to*/, std::span<const ProcessUse>,
                         LogPosition) {}
  /// Those of them that ended between two samples, with what each had used in the time before the
  /// first of the two. What they used after it is in no sample. Called after processes().
  virtual void processesEnded(LogTime /*from*/, LogTime /*to*/, std::span<const ProcessUse>) {}
  /// The same as processes() for the modem.
  virtual void modem(LogTime /*from*/, LogTime /*to*/, std::span<const ModemUse>, LogPosition) {}
  virtual void battery(const BatteryReading&) {}
  virtual void batteryLife(const BatteryLife&) {}
  /// Joules that each counted part of the hardware used between two samples.
  virtual void energy(LogTime /*from*/, LogTime /*to*/, std::span<const Growth>) {}
  /// CPU seconds that each unit of the system used between two samples.
  virtual void work(LogTime /*from*/, LogTime /*to*/, std::span<const Growth>) {}
  virtual void traffic(LogTime /*from*/, LogTime /*to*/, const TrafficUse&) {}
  virtual void suspended(const SleepRecord&) {}
  /// The log's time went back, or logging restarted after a time in which it may have been stopped.
  /// States that lasted are reported before, with their end not known.
  virtual void interruption(LogTime /*before*/, LogTime /*after*/, LogPosition) {}
};

/// Turns the pieces of a log into states, values and wakes. Keeps only current states: its memory
/// does not grow with the log.
class LogHistory {
 public:
  explicit LogHistory(LogHistorySink& sink);
  ~LogHistory();

  /// The next piece of the log, from any of its files, read by the formats of logFormat().
  void add(const LogRecord& record);

  /// No piece has come for a while: reports a wake that still waited for entries about it.
  void settle();

  /// The log is over: reports the states that still last.
  void finish();

  /// The states of a lane that last at the moment, from the one that was seen first. Their ends are
  /// their beginnings. Their texts are valid until the next piece.
  std::vector<LogSpan> lasting(Lane lane) const;
  /// The log has reported the state of this lane, on or off.
  bool knows(Lane lane) const;

  /// Seconds after which a silent daemon has ended: it writes at least every half hour that the
  /// device is awake.
  static constexpr LogTime kMaxSilence = 31 * LogTime{60};

 private:
  class Tracker;
  std::unique_ptr<Tracker> tracker_;
};

}  // namespace zorva

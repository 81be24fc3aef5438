// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// What happened between two readings of the battery. Times are in seconds.
struct PowerInterval {
  LogTime begin = 0;
  LogTime end = 0;
  double used = 0;  ///< percent of the full battery; negative: it gained
  LogTime asleep = 0;
  LogTime charging = 0;     ///< on a charger
  LogTime weakCharger = 0;  ///< on one that supplies too little
  LogTime lit = 0;          ///< with the display lit
  double brightness = 0;    ///< the integral of the display's brightness (from 0 to 1) over time
  LogTime hot = 0;          ///< throttled because of heat, or too hot to be charged
  LogTime audio = 0;        ///< playing while awake, by [Audio] or by who holds an assertion for it
  LogTime call = 0;
  LogTime data = 0;
  double wifiBytes = 0;  ///< of all interfaces but the modem's
  double modemBytes = 0;
  std::optional<double> joules;  ///< of the processor packages, by their own counters
  bool cpuKnown = false;
  double cpu = 0;  ///< CPU seconds of all processes
  /// The busiest of them: the number of a name, and seconds.
  std::vector<std::pair<std::uint32_t, float>> busiest;
  /// CPU seconds that processes which ended may have used after the last list that has them.
  std::vector<std::pair<std::uint32_t, float>> unseen;

  LogTime seconds() const { return end - begin; }
  LogTime awake() const { return std::max<LogTime>(0, seconds() - asleep); }
  /// CPU seconds, with half of what the ended processes may have used besides.
  double likelyCpu() const {
    double sum = cpu;
    for (const auto& [name, seconds] : unseen) sum += static_cast<double>(seconds) / 2;
    return sum;
  }
  /// Awake with a dark display.
  LogTime dark() const { return std::max<LogTime>(0, awake() - lit); }
  /// Nothing but the battery fed the device.
  bool onBattery() const { return charging * 20 < seconds() && weakCharger * 20 < seconds(); }

  PowerInterval& operator+=(const PowerInterval& more);
};

/// Gathers the intervals between a log's readings of the battery. From kMaximum on, neighbours are
/// merged unless only one of them was on a charger. Until the log is interrupted or ends, its
/// memory also grows with the states, and with what has not been settled.
class PowerIntervals {
 public:
  static constexpr std::size_t kMaximum = 8000;
  static constexpr std::size_t kBusiest = 24;  ///< names of an interval

  explicit PowerIntervals(const LogWindow& window) : window_(window) {}

  /// Whether a state is of use here.
  static bool takes(const LogSpan& span);
  void span(const LogSpan& span);
  void battery(const BatteryReading& reading);
  void energy(LogTime from, LogTime to, std::span<const Growth> parts);
  void work(LogTime from, LogTime to, std::span<const Growth> units);
  void processes(LogTime from, LogTime to, std::span<const ProcessUse> uses);
  /// Of the latest of these. What they used in the list before, they may have used once more.
  void processesEnded(LogTime to, std::span<const ProcessUse> uses);
  void traffic(LogTime from, LogTime to, const TrafficUse& use);

  /// No state and no sample that begins before this time is still to come: what was gathered up to
  /// it becomes intervals.
  void settle(LogTime until);
  /// The log is interrupted, or ends: what was gathered so far becomes intervals. What is used
  /// until the next reading belongs to none.
  void close();

  const std::vector<PowerInterval>& intervals() const { return intervals_; }
  std::vector<PowerInterval> take() { return std::move(intervals_); }
  std::vector<std::string> takeNames() { return std::move(names_); }
  /// Percent used during interruptions of the log.
  double interrupted() const { return interrupted_; }

  /// How much of [from, to] the spans of a lane take since the last close(). For lanes of which one
  /// span at most lasts at a time.
  LogTime overlap(Lane lane, LogTime from, LogTime to) const;

 private:
  struct Stretch {
    LogTime begin;
    LogTime end;
    float weight;
  };
  struct Sample {
    LogTime from;
    LogTime to;
    double amount;
  };
  struct CpuSample {
    LogTime from;
    LogTime to;
    double all;
    std::vector<std::pair<std::uint32_t, float>> busiest;
    std::vector<std::pair<std::uint32_t, float>> unseen;
  };

  std::uint32_t numberOf(std::string_view name);
  static bool addCpu(const std::vector<CpuSample>& samples, std::size_t& first, PowerInterval& to);
  static double part(const std::vector<Sample>& samples, std::size_t& first, LogTime from,
                     LogTime to);
  static void unite(std::vector<Stretch>& stretches);
  void merge();

  LogWindow window_;
  std::vector<std::pair<LogTime, double>> levels_;
  std::optional<double> before_;  // the last level before the interruption
  double interrupted_ = 0;
  std::array<std::vector<Stretch>, kLanes> stretches_;
  std::optional<LogTime> joulesSince_;
  std::vector<Sample> joules_, wifi_, modem_;
  std::vector<CpuSample> work_, processes_;
  std::vector<PowerInterval> intervals_;
  std::size_t limit_ = kMaximum;  // more, where neighbours are too unlike to be merged
  std::vector<std::string> names_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
};

/// The name by which people know a unit: "app-firefox@2100" is "firefox", "backup.service" is
/// "backup". Others are unchanged.
std::string_view shortUnitName(std::string_view unit);

}  // namespace zorva

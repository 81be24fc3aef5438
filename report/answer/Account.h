// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/answer/CostModel.h"

namespace zorva {

/// What used the battery.
enum class Cause {
  Asleep,
  Awake,  ///< what being awake costs, with nothing else in use
  Display,
  Processor,  ///< the processors' own use while awake, by their energy counters
  Process,    ///< the CPU time of one process, or of one unit of the system
  Wifi,       ///< the traffic of all networks but the modem's
  Modem,      ///< its traffic and connections
  Call,
  Audio,
  Together,  ///< several of these that the log cannot tell apart
  Unattributed,
};

/// A part of what the battery lost.
struct AccountPart {
  Cause cause;
  std::string name;     ///< Process: its name; Together: the parts' names
  double percent;       ///< of the full battery
  double error;         ///< percent by which it may be off
  bool measured;        ///< by the battery or the energy counters; otherwise estimated
  bool uncertain;       ///< it may be off by more than a tenth
  LogTime seconds = 0;  ///< CPU time of a process, otherwise how long the cause was there
};

/// What the battery lost over some time, and to what.
struct AccountSum {
  LogTime seconds = 0;             ///< on battery
  double percent = 0;              ///< used, by the readings of the battery
  std::vector<AccountPart> parts;  ///< the largest first, Unattributed last; together `percent`

  /// Without a name, the largest of that cause.
  const AccountPart* find(Cause cause, std::optional<std::string_view> name = {}) const;
};

/// The account of a log: how much of what the battery lost went to what. What a second asleep and
/// awake, the display, a CPU second and traffic cost on this device is learned from the log's own
/// intervals, by least squares. Where energy counters say what the processors used, that is
/// measured and only the rest is learned. Parts that the log does not tell apart, because they
/// always come together, are one part.
class Account {
 public:
  explicit Account(const LogSummary& summary);

  /// Over the intervals on battery between two times; an interval that is only partly between them
  /// counts by its share.
  AccountSum over(LogTime from, LogTime to) const;
  AccountSum whole() const;

  /// Percent that a part of an interval's sleep used, and how far that may be off.
  struct Charge {
    double percent = 0;
    double error = 0;
    LogTime seconds = 0;
    std::optional<double> perHour() const;  ///< empty for less than a minute
  };
  /// While asleep on battery, over the intervals between two times.
  Charge asleep(LogTime from, LogTime to) const;
  Charge asleep() const { return asleep_; }
  /// While awake on battery.
  Charge awake() const { return awake_; }
  /// In intervals in which the log cannot tell the two apart.
  Charge mixed() const { return mixed_; }

  /// An interval's parts, for who wants to add them up over other times.
  struct Interval {
    LogTime begin;
    LogTime end;
    double used;
    std::vector<std::pair<std::uint32_t, double>> parts;  ///< indices of parts(), and percent
  };
  struct Name {
    Cause cause;
    std::string name;
    bool measured;
  };
  const std::vector<Name>& parts() const { return names_; }
  std::vector<Interval> intervals() const;

 private:
  struct Entry {
    std::uint32_t part;
    double percent;
    double error;
    LogTime seconds;
  };
  struct Line {
    LogTime begin;
    LogTime end;
    double used;
    std::vector<Entry> entries;
    Charge asleep;
  };

  void nameGroups();
  void addLine(const PowerInterval& interval, double& readings);
  void addProcesses(const PowerInterval& interval, double percent, double error, Line& line);
  void addSleep(const PowerInterval& interval, Line& line, double& readings);
  void limitSleep(double readings);
  std::uint32_t partOf(Cause cause, std::string_view name);

  // While the account is made:
  const LogSummary* summary_;
  const CostModel* model_ = nullptr;
  double reading_ = 0;                 // percent by which the difference of two levels may be off
  std::vector<std::string> together_;  // the names of groups of several columns

  std::vector<Name> names_;
  std::vector<Line> lines_;
  Charge asleep_, awake_, mixed_;
};

/// "browser", "the display", "being awake, whatever is in use".
std::string causeText(Cause cause, std::string_view name);
/// "process", "display": for programs.
std::string_view causeWord(Cause cause);

}  // namespace zorva

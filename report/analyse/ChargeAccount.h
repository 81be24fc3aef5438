// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "report/analyse/LogSummary.h"

namespace zorva {

/// Separates the charge used asleep from that used awake. The states of an interval are known only
/// when they have ended, after its levels have been read.
class ChargeAccount {
 public:
  void addLevel(LogTime time, double percent);
  void addAsleep(LogTime begin, LogTime end) { asleep_.push_back({begin, end}); }
  void addCharging(LogTime begin, LogTime end) { charging_.push_back({begin, end}); }

  /// Adds up the known intervals, and discards them. The use of the charge between the last level
  /// and the next one is then unknown.
  void close(LogSummary& to);

 private:
  struct Level {
    LogTime time;
    double percent;
  };
  struct Stretch {
    LogTime begin;
    LogTime end;
  };

  static LogTime overlap(const std::vector<Stretch>& stretches, LogTime from, LogTime to,
                         std::size_t& first);

  std::vector<Level> levels_;
  std::optional<double> before_;  // the last level before the interruption
  double interrupted_ = 0;
  std::vector<Stretch> asleep_;
  std::vector<Stretch> charging_;
};

}  // namespace zorva

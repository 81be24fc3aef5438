// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "report/analyse/LogSummary.h"

namespace zorva {

/// Separates what was used asleep from what was used awake. The states of a time are known only
/// when they have ended, which is after its levels.
class ChargeAccount {
 public:
  void addLevel(LogTime time, double percent);
  void addAsleep(LogTime begin, LogTime end) { asleep_.push_back({begin, end}); }
  void addCharging(LogTime begin, LogTime end) { charging_.push_back({begin, end}); }

  /// Adds up what is known, and forgets it. How the charge between the last level and the next one
  /// was used is then not known.
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

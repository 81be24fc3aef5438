// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/answer/Account.h"

namespace zorva {

/// A time in which the level fell at twice the usual rate, or faster.
struct Stretch {
  LogTime begin = 0;
  LogTime end = 0;
  double used = 0;                 ///< percent
  double times = 0;                ///< the usual rate
  LogTime asleep = 0;              ///< seconds of it
  std::vector<AccountPart> parts;  ///< what used most of it, the largest first; at most three
};

/// Something that used more than it should have.
struct Finding {
  enum class Kind {
    NeverSlept,  ///< awake in the dark, held or refused or for no reason that the log has
    WokenOften,
    ShallowSleep,  ///< asleep, but the hardware was not, or it used as if it were not
    BusyProcess,
    Display,
    WeakSignal,
    Heat,
    WornBattery,
    WeakCharger,
  };
  Kind kind;
  double percent;                    ///< of the full battery that it explains
  std::string sentence;              ///< "packagekitd kept the device awake ..."
  std::string advice;                ///< what to do about it; may be empty
  std::vector<std::string> figures;  ///< what it is concluded from
  LogTime from;
  LogTime to;
  double weight;        ///< percent beyond what the device would have used without it: the order
  bool atMost = false;  ///< the log only tells that it explains no more
};

/// "worn_battery": for programs.
std::string_view kindWord(Finding::Kind kind);

/// The answer to "what used the battery?".
struct Answer {
  explicit Answer(const LogSummary& summary);

  Account account;
  AccountSum whole;                ///< on battery
  std::vector<Stretch> stretches;  ///< the costliest first, at most kMaxStretches
  std::vector<Finding> findings;   ///< the largest first
  /// One to three sentences: what used the battery, how much, when, and what to do about it.
  std::vector<std::string> verdict;
  double gained = 0;    ///< percent on chargers
  LogTime charged = 0;  ///< seconds between readings on chargers
  std::optional<double> wattHoursPerPercent;
  /// Percent that as long a time on battery uses in the same hours of the log's other days.
  std::optional<double> usual;
  std::size_t usualDays = 0;

  static constexpr std::size_t kMaxStretches = 5;
};

std::vector<Stretch> stretchesOf(const LogSummary& summary, const Account& account);
/// Percent used on battery, and on chargers that were too weak.
double usedInAll(const LogSummary& summary, const Answer& answer);
std::vector<Finding> findingsOf(const LogSummary& summary, const Answer& answer);
std::vector<std::string> verdictOf(const LogSummary& summary, const Answer& answer);

}  // namespace zorva

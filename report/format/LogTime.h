// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "report/format/LogCalendar.h"

namespace zorva {

/// Seconds since 1970 of the device's local clock, as if its zone were UTC: the log does not hold
/// the zone. Differences are true as long as neither clock nor zone is changed in between.
using LogTime = std::int64_t;

/// Reads the dates of entries, "MM/dd/YY HH:mm:ss", in their order.
///
/// The date's digits may be of any script. Its calendar is that of the device's locale: see
/// CalendarChoice.
///
/// The year is that of the week: the last days of December may show the next year, and the first
/// days of January the previous one. Which days do depends on the locale. If a date can belong to
/// two years in one locale or another, the year nearer to the previous entry is taken. For the
/// first entry, weeks are taken to belong to the year of their last day, as in most of the world.
/// So a log that begins in Europe in the last week of a December can be a year early until its
/// first day that fits one year only.
class LogClock {
 public:
  /// Empty if it is not a date. On success `length` is its number of bytes.
  std::optional<LogTime> read(std::string_view text, std::size_t& length);

  /// The locale of the dates that follow, as a Locale entry shows it. Returns whether they may read
  /// differently from now on.
  bool setLocale(std::string_view id, std::string_view country);

  /// As CalendarChoice::unreadable(). The dates are read as Gregorian ones all the same.
  const std::string& unreadableCalendar() const { return choice_.unreadable(); }

 private:
  CalendarChoice choice_;
  std::string lastText_;
  LogTime lastTime_ = 0;
  LogTime lastDay_ = 0;            // its first second
  std::optional<LogTime> nearby_;  // of the last date that was read
};

/// A date and time as people write them: "2026-11-16 22:05:00", also with a "T" between and without
/// the seconds, or "11/16/26 22:05:00" as in a log. A date alone is its first second, or its last
/// one. Empty if it is neither.
std::optional<LogTime> logTimeFrom(std::string_view text, bool dayEnds);

}  // namespace zorva

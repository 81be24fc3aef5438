#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zorva {

/// Seconds since 1970 of the device's local clock, as if its zone were UTC: the log does not tell
/// the zone. Differences are true as long as neither clock nor zone is changed in between.
using LogTime = std::int64_t;

/// Reads the dates of entries, "MM/dd/YY HH:mm:ss", in their order.
///
/// The year is that of the week, so that the last days of December may show the next year and the
/// first of January the previous one; which days do depends on the locale. A date that can belong
/// to two years in one locale or another is taken as the one nearer to the entry before it. For the
/// first entry, which has none, it is the one that holds where a week belongs to the year of its
/// last day, as it does in most of the world; a log that begins in Europe in the last week of a
/// December can be a year early until its first day that no other year can claim.
class LogClock {
 public:
  /// The date's digits may be of any script that a locale writes; its calendar is taken as
  /// Gregorian. Nothing when it is no date. On success `length` is the number of its bytes.
  std::optional<LogTime> read(std::string_view text, std::size_t& length);

 private:
  std::string lastText_;
  LogTime lastTime_ = 0;
  LogTime lastDay_ = 0;            // its first second
  std::optional<LogTime> nearby_;  // of the last date that was read
};

/// A date and time as people write them: "2026-11-16 22:05:00", also with a "T" between and without
/// the seconds, or "11/16/26 22:05:00" as it stands in a log. A date alone is its first second, or
/// its last one. Nothing when it is neither.
std::optional<LogTime> logTimeFrom(std::string_view text, bool dayEnds);

}  // namespace zorva

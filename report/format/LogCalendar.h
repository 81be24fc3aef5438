// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zorva {

/// The calendars that locales date a log by. With two digits of the week's year, those of Thailand,
/// Japan and Taiwan write the same as the Gregorian one.
enum class LogCalendar { Gregorian, Persian, UmmAlQura };

/// Days from 1 January 1970 to a day, which may be beyond the end of its month. Nothing outside the
/// years 1420 to 1500 of Umm al-Qura, whose months follow no rule.
std::optional<std::int64_t> dayOf(LogCalendar calendar, int year, int month, int day);

/// The year that belongs to the day's week, in a locale whose weeks begin on this weekday (0 is
/// Sunday) and whose years' first week has at least so many days of its year.
int weekYear(LogCalendar calendar, int year, std::int64_t day, int firstWeekday, int leastDays);

/// Takes a decimal digit of any script off the text; -1 if there is none.
int takeDigit(std::string_view& text);

/// Decides by which calendar a log's dates are written.
///
/// Of the two calendars of a locale's country, the one is taken that puts the date into the years
/// 2020 to 2040: without ICU, the daemon writes Gregorian dates in every locale. If the country is
/// not known, in a log without Locale entries or a redacted one, all three calendars compete.
class CalendarChoice {
 public:
  /// The locale as the log's Locale entries show it. Returns whether dates may read differently.
  bool setLocale(std::string_view id, std::string_view country);

  struct Year {
    LogCalendar calendar;
    int year;
  };
  /// The calendar and the whole year of a date with two digits of its year.
  Year yearOf(int twoDigits, bool plainDigits) const;

  /// A calendar that the locale's identifier asks for ("hebrew" in "he_IL-u-ca-hebrew") and that
  /// is not among those that can be read. Usually empty.
  const std::string& unreadable() const { return unreadable_; }

 private:
  enum class Country { Unknown, Persian, Saudi, Other };

  std::string unreadable_;
  Country country_ = Country::Unknown;
  std::optional<LogCalendar> asked_;  // by the identifier
};

}  // namespace zorva

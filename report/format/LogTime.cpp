// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iterator>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::string_view kPattern = "00/00/00 00:00:00";

struct Fields {
  int month, day, year, hour, minute, second;  // two digits of the year
  bool plain;                                  // all digits are 0 to 9
};

std::optional<Fields> readFields(std::string_view text, std::size_t& length) {
  const std::size_t whole = text.size();
  std::array<int, 6> numbers{};
  std::size_t digits = 0;
  for (const char expected : kPattern) {
    if (expected == '0') {
      const int digit = takeDigit(text);
      if (digit < 0) return std::nullopt;
      int& number = numbers[digits++ / 2];
      number = number * 10 + digit;
    } else {
      if (!text.starts_with(expected)) return std::nullopt;
      text.remove_prefix(1);
    }
  }
  length = whole - text.size();
  const auto [month, day, year, hour, minute, second] = numbers;
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
    return std::nullopt;
  }
  return Fields{month, day, year, hour, minute, second, length == kPattern.size()};
}

LogTime secondsOf(std::int64_t day, int hour, int minute, int second) {
  return day * LogTime{86400} + hour * LogTime{3600} + minute * LogTime{60} + second;
}

// Whether the day of a year can show this week-based year, in some locale with that least number of
// days in a year's first week. Weeks that begin on a Friday are those of one country, the Maldives.
bool canShow(int shown, LogCalendar calendar, int year, std::int64_t day, int leastDays,
             bool orOnFriday = true) {
  constexpr int kFriday = 5;
  constexpr int kFirstWeekdays[] = {0, 1, 6, kFriday};
  return std::ranges::any_of(kFirstWeekdays, [&](int first) {
    if (first == kFriday && !orOnFriday) return false;
    return weekYear(calendar, year, day, first, leastDays) == shown;
  });
}

// The time of day after a date of plain digits; -1 if there is none.
LogTime timeOfDayIn(std::string_view text) {
  if (text.size() < kPattern.size() || text[11] != ':' || text[14] != ':') return -1;
  LogTime parts[3];
  for (std::size_t i = 0; i < 3; ++i) {
    const unsigned tens = static_cast<unsigned char>(text[9 + 3 * i]) - unsigned{'0'};
    const unsigned ones = static_cast<unsigned char>(text[10 + 3 * i]) - unsigned{'0'};
    if (tens > 9 || ones > 9) return -1;
    parts[i] = LogTime{tens} * 10 + ones;
  }
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 60) return -1;
  return parts[0] * 3600 + parts[1] * 60 + parts[2];
}

}  // namespace

std::optional<LogTime> LogClock::read(std::string_view text, std::size_t& length) {
  if (!lastText_.empty() && text.starts_with(lastText_)) {
    length = lastText_.size();
    return lastTime_;
  }
  // The date is that of the last text: only the time of day is read.
  constexpr std::size_t kDate = sizeof "11/16/26 " - 1;
  if (lastText_.size() == kPattern.size() &&
      text.starts_with(std::string_view(lastText_).substr(0, kDate))) {
    if (const LogTime ofDay = timeOfDayIn(text); ofDay >= 0) {
      length = kPattern.size();
      lastText_.assign(text, 0, length);
      nearby_ = lastTime_ = lastDay_ + ofDay;
      return lastTime_;
    }
  }
  const std::optional<Fields> fields = readFields(text, length);
  if (!fields) return std::nullopt;
  const auto [calendar, year] = choice_.yearOf(fields->year, fields->plain);
  const auto dayIn = [&, calendar = calendar](int of) {
    return dayOf(calendar, of, fields->month, fields->day);
  };
  auto day = dayIn(year);
  if (!day) return std::nullopt;
  const bool lastDays = fields->month == 12 && fields->day > 22;
  if (lastDays || (fields->month == 1 && fields->day < 7)) {
    const int other = year + (lastDays ? -1 : 1);
    const auto can = [&, calendar = calendar, year = year](int of, std::int64_t on) {
      return canShow(year, calendar, of, on, 1) || canShow(year, calendar, of, on, 4);
    };
    if (const auto otherDay = dayIn(other); otherDay && can(other, *otherDay)) {
      const auto distance = [&](std::int64_t from) { return std::abs(from * 86400 - *nearby_); };
      const bool takeOther = nearby_ ? distance(*otherDay) < distance(*day)
                                     : canShow(year, calendar, other, *otherDay, 1, false);
      if (takeOther || !can(year, *day)) day = otherDay;
    }
  }
  const LogTime time = secondsOf(*day, fields->hour, fields->minute, fields->second);
  lastText_.assign(text.substr(0, length));
  lastTime_ = time;
  lastDay_ = time - (fields->hour * 3600 + fields->minute * 60 + fields->second);
  nearby_ = time;
  return time;
}

bool LogClock::setLocale(std::string_view id, std::string_view country) {
  if (!choice_.setLocale(id, country)) return false;
  lastText_.clear();
  nearby_.reset();
  return true;
}

std::optional<LogTime> logTimeFrom(std::string_view text, bool dayEnds) {
  std::size_t length = 0;
  if (const auto time = LogClock().read(text, length); time && length == text.size()) return time;
  constexpr std::string_view kIso = "0000-00-00 00:00:00";
  constexpr std::size_t kLengths[] = {10, 16, 19};
  if (std::ranges::find(kLengths, text.size()) == std::end(kLengths)) return std::nullopt;
  std::array<int, 6> numbers{};  // year to second
  std::size_t number = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = isDigit(text[i]);
    if (kIso[i] == '0') {
      if (!digit) return std::nullopt;
      numbers[number] = numbers[number] * 10 + (text[i] - '0');
    } else {
      if (text[i] != kIso[i] && !(i == 10 && text[i] == 'T')) return std::nullopt;
      ++number;
    }
  }
  const auto [year, month, day, hour, minute, second] = numbers;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const LogTime time =
      secondsOf(std::chrono::sys_days(date).time_since_epoch().count(), hour, minute, second);
  return text.size() == 10 && dayEnds ? time + 86399 : time;
}

}  // namespace zorva

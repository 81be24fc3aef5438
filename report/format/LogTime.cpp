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

// The zeros of the digits that locales write dates with: ASCII's, Arabic, its eastern form,
// Devanagari, Bengali, Tibetan, Burmese, Ol Chiki, Adlam.
constexpr char32_t kZeros[] = {U'0', 0x660, 0x6F0, 0x966, 0x9E6, 0xF20, 0x1040, 0x1C50, 0x1E950};

// Takes one digit off the text; -1 if there is none.
int takeDigit(std::string_view& text) {
  if (text.empty()) return -1;
  const auto [code, bytes] = firstCharacter(text);
  for (const char32_t zero : kZeros) {
    if (code >= zero && code < zero + 10) {
      text.remove_prefix(bytes.size());
      return static_cast<int>(code - zero);
    }
  }
  return -1;
}

struct Fields {
  int month, day, year, hour, minute, second;
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
  return Fields{month, day, 2000 + year, hour, minute, second};
}

LogTime timeOf(const Fields& fields, int year) {
  using namespace std::chrono;
  const sys_days day = std::chrono::year(year) / fields.month / 1;
  return (day.time_since_epoch().count() + fields.day - 1) * LogTime{86400} +
         fields.hour * LogTime{3600} + fields.minute * LogTime{60} + fields.second;
}

// 0 is Sunday.
int weekday(int year, unsigned month, unsigned day) {
  return static_cast<int>(
      std::chrono::weekday(std::chrono::sys_days(std::chrono::year(year) / static_cast<int>(month) /
                                                 static_cast<int>(day)))
          .c_encoding());
}

// Whether the date can belong to the week-based year, in a locale whose weeks begin on this weekday
// and whose first week has at least so many days of its year.
bool belongs(const Fields& fields, int year, int weekYear, int firstWeekday, int leastDays) {
  // Days of December in the week of 1 January; 0 if a week begins on that day.
  const auto daysBefore = [&](int newYear) {
    return (weekday(newYear, 1, 1) - firstWeekday + 7) % 7;
  };
  int belongsTo = year;
  if (fields.month == 12) {
    const int before = daysBefore(year + 1);
    if (fields.day > 31 - before && 7 - before >= leastDays) belongsTo = year + 1;
  } else if (fields.month == 1) {
    const int before = daysBefore(year);
    if (fields.day <= 7 - before && 7 - before < leastDays) belongsTo = year - 1;
  }
  return belongsTo == weekYear;
}

bool belongsSomewhere(const Fields& fields, int year, int weekYear, int leastDays) {
  for (const int firstWeekday : {0, 1, 6}) {
    if (belongs(fields, year, weekYear, firstWeekday, leastDays)) return true;
  }
  return false;
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
  LogTime time = timeOf(*fields, fields->year);
  const bool lastDays = fields->month == 12 && fields->day > 25;
  if (lastDays || (fields->month == 1 && fields->day < 7)) {
    const int other = fields->year + (lastDays ? -1 : 1);
    const LogTime otherTime = timeOf(*fields, other);
    const auto can = [&](int year) {
      return belongsSomewhere(*fields, year, fields->year, 1) ||
             belongsSomewhere(*fields, year, fields->year, 4);
    };
    const bool takeOther = nearby_ ? std::abs(otherTime - *nearby_) < std::abs(time - *nearby_)
                                   : belongsSomewhere(*fields, other, fields->year, 1);
    if (can(other) && (takeOther || !can(fields->year))) time = otherTime;
  }
  lastText_.assign(text.substr(0, length));
  lastTime_ = time;
  lastDay_ = time - (fields->hour * 3600 + fields->minute * 60 + fields->second);
  nearby_ = time;
  return time;
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
  const LogTime time = timeOf({month, day, year, hour, minute, second}, year);
  return text.size() == 10 && dayEnds ? time + 86399 : time;
}

}  // namespace zorva

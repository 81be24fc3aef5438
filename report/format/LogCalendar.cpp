// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogCalendar.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <iterator>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// The zeros of Unicode's decimal digits; each script's other nine follow.
constexpr char32_t kZeros[] = {
    0x30,    0x660,   0x6F0,   0x7C0,   0x966,   0x9E6,   0xA66,   0xAE6,   0xB66,   0xBE6,
    0xC66,   0xCE6,   0xD66,   0xDE6,   0xE50,   0xED0,   0xF20,   0x1040,  0x1090,  0x17E0,
    0x1810,  0x1946,  0x19D0,  0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,
    0xA8D0,  0xA900,  0xA9D0,  0xA9F0,  0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066,
    0x110F0, 0x11136, 0x111D0, 0x112F0, 0x11450, 0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0,
    0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60, 0x16AC0, 0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2,
    0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0};

// Umm al-Qura: a bit for each month that has 30 days, the first month's lowest; the others have 29.
constexpr int kFirstYear = 1420;
constexpr std::int64_t kFirstDay = 10698;
constexpr std::uint16_t kLongMonths[] = {
    0xBD2, 0xBC4, 0xB89, 0xA95, 0x52D, 0x5AD, 0xB6A, 0x6D4, 0xDC9, 0xD92, 0xAA6, 0x956,
    0x2AE, 0x56D, 0x36A, 0xB55, 0xAAA, 0x94D, 0x49D, 0x95D, 0x2BA, 0x5B5, 0x5AA, 0xD55,
    0xA9A, 0x92E, 0x26E, 0x55D, 0xADA, 0x6D4, 0x6A5, 0xB27, 0xA4D, 0x4AD, 0x56D, 0xB5A,
    0x754, 0xF49, 0xE92, 0xD26, 0xA56, 0x356, 0x6B5, 0xBAA, 0xB92, 0xB25, 0x68B, 0xA9B,
    0x55A, 0xADA, 0x5B4, 0xDA9, 0xB52, 0xA9A, 0x536, 0x276, 0x575, 0xAF2, 0x6D4, 0x6A9,
    0x555, 0x2AD, 0x4BD, 0x9BA, 0x574, 0xB69, 0xB52, 0xA95, 0x52D, 0xA5D, 0x4DA, 0xAD9,
    0x6B2, 0xE95, 0xE2A, 0xC96, 0x92E, 0xAAD, 0x56A, 0xD65, 0xD4A};

std::optional<std::int64_t> dayOfUmmAlQura(int year, int month, int day) {
  const int index = year - kFirstYear;
  if (index < 0 || index >= static_cast<int>(std::size(kLongMonths))) return std::nullopt;
  constexpr int kMonths = 12;
  constexpr int kShortMonth = 29;
  std::int64_t days = kFirstDay;
  for (int i = 0; i < index; ++i) days += kMonths * kShortMonth + std::popcount(kLongMonths[i]);
  const unsigned before = kLongMonths[index] & ((1U << (month - 1)) - 1);
  return days + std::int64_t{month - 1} * kShortMonth + std::popcount(before) + day - 1;
}

// Eight leap years in 33 years; six months of 31 days and then months of 30.
std::int64_t dayOfPersian(int year, int month, int day) {
  constexpr std::int64_t kBefore1970 = 492268;
  const std::int64_t newYear = 365LL * (year - 1) + (8LL * year + 21) / 33 - kBefore1970;
  return newYear + std::int64_t{30} * (month - 1) + std::min(month - 1, 6) + day - 1;
}

std::int64_t dayOfGregorian(int year, int month, int day) {
  const std::chrono::sys_days first = std::chrono::year(year) / month / 1;
  return first.time_since_epoch().count() + day - 1;
}

// Two digits as a year of the century that ends with this year.
int yearUpTo(int last, int twoDigits) {
  const int year = last - last % 100 + twoDigits;
  return year <= last ? year : year - 100;
}

// The calendar in an identifier such as "ar-SA-u-ca-islamic-umalqura"; empty if it names none.
std::string calendarAsked(std::string_view id) {
  std::string plain(id);
  std::ranges::replace(plain, '_', '-');
  constexpr std::string_view kKey = "-u-ca-";
  const std::size_t at = plain.find(kKey);
  std::string asked;
  for (std::size_t from = at == plain.npos ? plain.size() : at + kKey.size();
       from < plain.size();) {
    const std::size_t end = std::min(plain.find('-', from), plain.size());
    if (end - from <= 2) break;  // the next key
    asked += (asked.empty() ? "" : "-") + plain.substr(from, end - from);
    from = end + 1;
  }
  return asked;
}

}  // namespace

std::optional<std::int64_t> dayOf(LogCalendar calendar, int year, int month, int day) {
  switch (calendar) {
    case LogCalendar::Persian:
      return dayOfPersian(year, month, day);
    case LogCalendar::UmmAlQura:
      return dayOfUmmAlQura(year, month, day);
    case LogCalendar::Gregorian:
      break;
  }
  return dayOfGregorian(year, month, day);
}

int weekYear(LogCalendar calendar, int year, std::int64_t day, int firstWeekday, int leastDays) {
  constexpr int kWeek = 7;
  constexpr int kWeekdayOf1970 = 4;
  const auto newYear = dayOf(calendar, year, 1, 1);
  const auto nextYear = dayOf(calendar, year + 1, 1, 1);
  if (!newYear || !nextYear) return year;
  const auto weekday = ((day + kWeekdayOf1970) % kWeek + kWeek) % kWeek;
  const std::int64_t begun = day - (weekday - firstWeekday + kWeek) % kWeek;
  if (begun < *newYear) return begun + kWeek - *newYear >= leastDays ? year : year - 1;
  return begun + kWeek - *nextYear >= leastDays ? year + 1 : year;
}

int takeDigit(std::string_view& text) {
  if (text.empty()) return -1;
  if (isDigit(text.front())) {
    const int digit = text.front() - '0';
    text.remove_prefix(1);
    return digit;
  }
  const auto [code, bytes] = firstCharacter(text);
  const auto* const zero = std::upper_bound(std::begin(kZeros), std::end(kZeros), code);
  if (zero == std::begin(kZeros) || code - zero[-1] > 9) return -1;
  text.remove_prefix(bytes.size());
  return static_cast<int>(code - zero[-1]);
}

bool CalendarChoice::setLocale(std::string_view id, std::string_view country) {
  const auto before = std::pair(country_, asked_);
  const bool isCode = country.size() == 2 &&
                      std::ranges::all_of(country, [](char c) { return c >= 'A' && c <= 'Z'; });
  if (!isCode) {
    country_ = Country::Unknown;
  } else if (country == "IR" || country == "AF") {
    country_ = Country::Persian;
  } else {
    country_ = country == "SA" ? Country::Saudi : Country::Other;
  }
  const std::string asked = calendarAsked(id);
  asked_.reset();
  unreadable_.clear();
  constexpr std::string_view kLikeGregorian[] = {"gregory", "iso8601", "buddhist", "japanese",
                                                 "roc"};
  if (asked == "persian") {
    asked_ = LogCalendar::Persian;
  } else if (asked == "islamic-umalqura") {
    asked_ = LogCalendar::UmmAlQura;
  } else if (std::ranges::find(kLikeGregorian, asked) != std::end(kLikeGregorian)) {
    asked_ = LogCalendar::Gregorian;
  } else {
    unreadable_ = asked;
  }
  return before != std::pair(country_, asked_);
}

CalendarChoice::Year CalendarChoice::yearOf(int twoDigits, bool plainDigits) const {
  // The year in which this calendar's next century begins to be taken for the one before.
  constexpr int kLastGregorian = 2069, kLastPersian = 1447, kLastUmmAlQura = 1500;
  const Year gregorian{LogCalendar::Gregorian, yearUpTo(kLastGregorian, twoDigits)};
  const Year persian{LogCalendar::Persian, yearUpTo(kLastPersian, twoDigits)};
  const Year ummAlQura{LogCalendar::UmmAlQura, yearUpTo(kLastUmmAlQura, twoDigits)};
  if (asked_ == LogCalendar::Persian) return persian;
  if (asked_ == LogCalendar::UmmAlQura) return ummAlQura;
  if (asked_) return gregorian;
  const bool gregorianSpan = twoDigits >= 20 && twoDigits <= 40;
  switch (country_) {
    case Country::Persian:
      return gregorianSpan && plainDigits ? gregorian : persian;
    case Country::Saudi:
      return gregorianSpan || twoDigits > 62 ? gregorian : ummAlQura;
    case Country::Other:
      return gregorian;
    case Country::Unknown:
      break;
  }
  if (twoDigits < 20) return persian;                                // 2021 to 2041
  return twoDigits > 40 && twoDigits <= 62 ? ummAlQura : gregorian;  // 2019 to 2041
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/format/Wording.h"

#include <chrono>
#include <cmath>
#include <iterator>

#include "platform/base/Text.h"

namespace zorva {
namespace {

struct CalendarTime {
  std::chrono::year_month_day date;
  unsigned weekday;
  LogTime ofDay;
};

CalendarTime calendarOf(LogTime time) {
  using namespace std::chrono;
  const sys_days day = floor<days>(sys_seconds(seconds(time)));
  return {year_month_day(day), weekday(day).c_encoding(),
          time - duration_cast<seconds>(day.time_since_epoch()).count()};
}

std::string clockText(LogTime ofDay) {
  return formatText("%02d:%02d:%02d", static_cast<int>(ofDay / 3600),
                    static_cast<int>(ofDay / 60 % 60), static_cast<int>(ofDay % 60));
}

const char* monthName(const std::chrono::year_month_day& date) {
  static constexpr const char* kNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  return kNames[static_cast<unsigned>(date.month()) - 1];
}

}  // namespace

std::string dayAndTime(LogTime time) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  const CalendarTime at = calendarOf(time);
  return formatText("%s %u %s %d ", kDays[at.weekday], static_cast<unsigned>(at.date.day()),
                    monthName(at.date), static_cast<int>(at.date.year())) +
         clockText(at.ofDay);
}

std::string shortTime(LogTime time) {
  const CalendarTime at = calendarOf(time);
  return formatText("%2u %s ", static_cast<unsigned>(at.date.day()), monthName(at.date)) +
         clockText(at.ofDay);
}

std::string clockTime(LogTime time) {
  return clockText(calendarOf(time).ofDay).substr(0, 5);
}

std::string duration(LogTime seconds) {
  struct Unit {
    LogTime seconds;
    const char* name;
  };
  static constexpr Unit kUnits[] = {{86400, "d"}, {3600, "h"}, {60, "min"}, {1, "s"}};
  for (std::size_t i = 0; i + 1 < std::size(kUnits); ++i) {
    if (seconds < kUnits[i].seconds) continue;
    const LogTime smaller = seconds % kUnits[i].seconds / kUnits[i + 1].seconds;
    std::string text =
        formatText("%lld %s", static_cast<long long>(seconds / kUnits[i].seconds), kUnits[i].name);
    if (smaller == 0) return text;
    return text + formatText(" %lld %s", static_cast<long long>(smaller), kUnits[i + 1].name);
  }
  return formatText("%lld s", static_cast<long long>(seconds));
}

std::string byteCount(double bytes) {
  static constexpr const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  for (; bytes >= 1024 && unit + 1 < std::size(kUnits); ++unit) bytes /= 1024;
  return (unit == 0 ? formatText("%.0f ", bytes) : figure(bytes) + " ") + kUnits[unit];
}

std::string figure(double value) {
  const double size = std::fabs(value);
  return formatText("%.*f", size >= 99.95 ? 0 : size >= 0.995 ? 1 : 2, value);
}

std::string grouped(std::uint64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

std::string counted(std::uint64_t count, std::string_view one, std::string_view several) {
  return grouped(count) + " " + std::string(count == 1 ? one : several);
}

std::string capitalized(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
  }
  return text;
}

std::string wholePercent(double value) {
  return value >= 10 ? formatText("%.0f %%", value) : percentText(value);
}

std::string percentText(double value) {
  return figure(value) + " %";
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/format/ZoneOffset.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "platform/base/Text.h"

namespace zorva {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

// The months in which a zone may shift, as bits from January on.
constexpr unsigned months(std::initializer_list<unsigned> numbers) {
  unsigned bits = 0;
  for (const unsigned number : numbers) bits |= 1U << (number - 1);
  return bits;
}
constexpr unsigned kNever = 0;
constexpr unsigned kEurope = months({3, 10});
constexpr unsigned kLevant = months({3, 4, 10});  // EET, EEST: also Egypt's and Palestine's
constexpr unsigned kAmerica = months({3, 11});
constexpr unsigned kSouth = months({4, 9, 10});
constexpr unsigned kAnyMonth = 0xFFF;  // numbers: many zones, among them Morocco's

struct Zone {
  std::string_view abbreviation;
  minutes offset;
  unsigned shifts;
};

// The abbreviations of the time zone database that mean one offset only. Those of several zones
// (CST, CDT, IST, PST) are left out: a guess that is wrong would show which of them it is.
constexpr Zone kZones[] = {
    {"ACDT", minutes(630), kSouth},   {"ACST", minutes(570), kSouth},
    {"ADT", hours(-3), kAmerica},     {"AEDT", hours(11), kSouth},
    {"AEST", hours(10), kSouth},      {"AKDT", hours(-8), kAmerica},
    {"AKST", hours(-9), kAmerica},    {"AST", hours(-4), kAmerica},
    {"AWST", hours(8), kNever},       {"BST", hours(1), kEurope},
    {"CAT", hours(2), kNever},        {"CEST", hours(2), kEurope},
    {"CET", hours(1), kEurope},       {"ChST", hours(10), kNever},
    {"EAT", hours(3), kNever},        {"EDT", hours(-4), kAmerica},
    {"EEST", hours(3), kLevant},      {"EET", hours(2), kLevant},
    {"EST", hours(-5), kAmerica},     {"GMT", hours(0), kEurope},
    {"HDT", hours(-9), kAmerica},     {"HKT", hours(8), kNever},
    {"HST", hours(-10), kAmerica},    {"IDT", hours(3), kEurope},
    {"JST", hours(9), kNever},        {"KST", hours(9), kNever},
    {"MDT", hours(-6), kAmerica},     {"MSK", hours(3), kNever},
    {"MST", hours(-7), kAmerica},     {"NDT", minutes(-150), kAmerica},
    {"NST", minutes(-210), kAmerica}, {"NZDT", hours(13), kSouth},
    {"NZST", hours(12), kSouth},      {"PDT", hours(-7), kAmerica},
    {"PKT", hours(5), kNever},        {"SAST", hours(2), kNever},
    {"SST", hours(-11), kNever},      {"UTC", hours(0), kNever},
    {"WAT", hours(1), kNever},        {"WEST", hours(1), kEurope},
    {"WET", hours(0), kEurope},       {"WIB", hours(7), kNever},
    {"WIT", hours(9), kNever},        {"WITA", hours(8), kNever},
};

const Zone* zoneOf(std::string_view abbreviation) {
  const auto* const found = std::ranges::find(kZones, abbreviation, &Zone::abbreviation);
  return found != std::end(kZones) ? found : nullptr;
}

// "+0545", "-03"
std::optional<seconds> numericOffset(std::string_view text) {
  if ((text.size() != 3 && text.size() != 5) || (text[0] != '+' && text[0] != '-') ||
      !std::ranges::all_of(text.substr(1), isDigit)) {
    return std::nullopt;
  }
  const auto two = [&](std::size_t at) { return (text[at] - '0') * 10 + text[at + 1] - '0'; };
  const seconds offset = hours(two(1)) + minutes(text.size() == 5 ? two(3) : 0);
  return text[0] == '-' ? -offset : offset;
}

}  // namespace

std::optional<seconds> zoneOffset(std::string_view abbreviation) {
  if (const Zone* const zone = zoneOf(abbreviation)) return zone->offset;
  return numericOffset(abbreviation);
}

bool mayHaveShifted(std::string_view abbreviation, LogTime one, LogTime other) {
  using namespace std::chrono;
  const Zone* const zone = zoneOf(abbreviation);
  const unsigned shifts = zone != nullptr ? zone->shifts : kAnyMonth;
  if (shifts == kNever) return false;
  const auto [from, to] = std::minmax(one, other);
  if (to - from > seconds(weeks(26)).count()) return true;
  // From Saturday 22:00 to Sunday 04:00; in the Levant from Thursday 22:00 on.
  const seconds length = shifts == kLevant ? days(2) + hours(6) : hours(6);
  const sys_days thursday(days(0));  // 1 January 1970
  sys_seconds end = thursday + days(3) + hours(4);
  end += floor<weeks>(sys_seconds(seconds(from)) - end) + weeks(1);
  for (; end - length <= sys_seconds(seconds(to)); end += weeks(1)) {
    const year_month_day date(floor<days>(end));
    const year_month_day before(floor<days>(end - length));
    const unsigned both = months({static_cast<unsigned>(date.month())}) |
                          months({static_cast<unsigned>(before.month())});
    if ((shifts & both) != 0) return from != to;
  }
  return false;
}

std::optional<std::string> localTime(std::string_view time, seconds zone) {
  using namespace std::chrono;
  constexpr std::size_t kDateLength = std::string_view("2026-11-18 05:30:00").size();
  if (time.size() < kDateLength + 2 || time[kDateLength] != ' ') return std::nullopt;
  const auto written = logTimeFrom(time.substr(0, kDateLength), false);
  const auto offset = numericOffset(time.substr(kDateLength + 1));
  if (!written || !offset) return std::nullopt;
  const sys_seconds local(seconds(*written) - *offset + zone);
  const sys_days day = floor<days>(local);
  const year_month_day date(day);
  const hh_mm_ss clock(local - day);
  return formatText("%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                    static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                    static_cast<int>(clock.hours().count()),
                    static_cast<int>(clock.minutes().count()),
                    static_cast<int>(clock.seconds().count()));
}

}  // namespace zorva

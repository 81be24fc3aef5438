// SPDX-License-Identifier: Apache-2.0
#include "report/redact/ZoneOffset.h"

#include <algorithm>
#include <iterator>

#include "platform/base/Text.h"
#include "report/format/LogTime.h"

namespace zorva {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

struct Zone {
  std::string_view abbreviation;
  minutes offset;
};

// The abbreviations of the time zone database that mean one offset only. Those of several zones
// (CST, CDT, IST, PST) are left out: a guess that is wrong would show which of them it is.
constexpr Zone kZones[] = {
    {"ACDT", minutes(630)}, {"ACST", minutes(570)}, {"ADT", hours(-3)},     {"AEDT", hours(11)},
    {"AEST", hours(10)},    {"AKDT", hours(-8)},    {"AKST", hours(-9)},    {"AST", hours(-4)},
    {"AWST", hours(8)},     {"BST", hours(1)},      {"CAT", hours(2)},      {"CEST", hours(2)},
    {"CET", hours(1)},      {"ChST", hours(10)},    {"EAT", hours(3)},      {"EDT", hours(-4)},
    {"EEST", hours(3)},     {"EET", hours(2)},      {"EST", hours(-5)},     {"GMT", hours(0)},
    {"HDT", hours(-9)},     {"HKT", hours(8)},      {"HST", hours(-10)},    {"IDT", hours(3)},
    {"JST", hours(9)},      {"KST", hours(9)},      {"MDT", hours(-6)},     {"MSK", hours(3)},
    {"MST", hours(-7)},     {"NDT", minutes(-150)}, {"NST", minutes(-210)}, {"NZDT", hours(13)},
    {"NZST", hours(12)},    {"PDT", hours(-7)},     {"PKT", hours(5)},      {"SAST", hours(2)},
    {"SST", hours(-11)},    {"UTC", hours(0)},      {"WAT", hours(1)},      {"WEST", hours(1)},
    {"WET", hours(0)},      {"WIB", hours(7)},      {"WIT", hours(9)},      {"WITA", hours(8)},
};

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
  const auto* const found = std::ranges::find(kZones, abbreviation, &Zone::abbreviation);
  if (found != std::end(kZones)) return found->offset;
  return numericOffset(abbreviation);
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

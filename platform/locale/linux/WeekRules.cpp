#include "platform/locale/linux/WeekRules.h"

#include "platform/locale/CountryCode.h"

namespace zorva {
namespace {

// Languages whose dates have the digits 0 to 9 in every country.
constexpr std::string_view kPlainLanguages =
    " af am az be bg bs ca cs cy da de el en es et eu fi fo fr ga gd gl gu he hi hr hu hy id "
    "is it ja ka kk km kn ko ky lb lo lt lv mk ml mn ms mt nb nl nn no or pl pt ro ru si sk "
    "sl sq sr sv sw ta te th tr uk vi zh zu ";
// Countries with a calendar of their own.
constexpr std::string_view kOtherCalendars = " AF IR SA TH ";

// Weeks begin on Monday elsewhere, and a single day is enough to be a year's first.
constexpr std::string_view kFridayFirst = " MV ";
constexpr std::string_view kSaturdayFirst = " AE AF BH DJ DZ EG IQ IR JO KW LY OM QA SD SY ";
constexpr std::string_view kSundayFirst =
    " AG AS BD BR BS BT BW BZ CA CO DM DO ET GT GU HK HN ID IL IN JM JP KE KH KR LA MH MM MO "
    "MT MX MZ NI NP PA PE PH PK PR PT PY SA SG SV TH TT TW UM US VE VI WS YE ZA ZW ";
constexpr std::string_view kFourDays =
    " AD AT AX BE BG CH CZ DE DK EE ES FI FJ FO FR GB GF GG GI GP GR HU IE IM IS IT JE LI LT "
    "LU MC MQ NL NO PL PT RE RU SE SJ SK SM VA ";

bool has(std::string_view list, std::string_view wanted) {
  const std::size_t at = list.find(wanted);
  if (at == list.npos || at == 0) return false;
  return list[at - 1] == ' ' && list[at + wanted.size()] == ' ';
}

}  // namespace

int WeekRule::weekYear(const std::tm& day) const {
  constexpr int kWeek = 7;
  const int year = day.tm_year + 1900;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  // Day of the year on which the week began, below 0 for one of the year before.
  const int begun = day.tm_yday - (day.tm_wday - firstDay + kWeek) % kWeek;
  if (begun < 0) return begun + kWeek >= leastDays ? year : year - 1;
  const int daysOfNext = begun + kWeek - (leap ? 366 : 365);
  return daysOfNext >= leastDays ? year + 1 : year;
}

std::optional<WeekRule> weekRuleOfPlainLocale(std::string_view locale) {
  const auto [language, country, variant] = localeParts(locale);
  if (country.empty() || (!variant.empty() && variant != "POSIX")) return std::nullopt;
  if (!has(kPlainLanguages, language) || has(kOtherCalendars, country)) return std::nullopt;
  WeekRule rule = kWorldsWeekRule;
  if (has(kSundayFirst, country)) rule.firstDay = 0;
  if (has(kSaturdayFirst, country)) rule.firstDay = 6;
  if (has(kFridayFirst, country)) rule.firstDay = 5;
  if (has(kFourDays, country)) rule.leastDays = 4;
  return rule;
}

}  // namespace zorva

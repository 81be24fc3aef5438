// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LocaleRules.h"

#include <algorithm>
#include <string>

#include "platform/locale/CountryCode.h"

namespace zorva {
namespace {

// In the form used in the rules; ICU also accepts other forms.
bool isLanguage(std::string_view text) {
  return (text.size() == 2 || text.size() == 3) &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

}  // namespace

int WeekRule::weekYear(const std::tm& day) const {
  constexpr int kWeek = 7;
  const int year = day.tm_year + 1900;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  // Day of the year on which the week began, negative if in the previous year.
  const int begun = day.tm_yday - (day.tm_wday - firstDay + kWeek) % kWeek;
  if (begun < 0) return begun + kWeek >= leastDays ? year : year - 1;
  const int daysOfNext = begun + kWeek - (leap ? 366 : 365);
  return daysOfNext >= leastDays ? year + 1 : year;
}

std::optional<WeekRule> weekRuleOfPlainLocale(std::string_view locale) {
  const auto parts = localeParts(locale);
  const std::string_view country = parts.country;
  if (country.empty() || (!parts.variant.empty() && parts.variant != "POSIX")) return std::nullopt;
  if (!isLanguage(parts.language)) return std::nullopt;
  if (kLanguagesWithDigits.find(" " + std::string(parts.language) + " ") !=
      std::string_view::npos) {
    return std::nullopt;
  }
  const auto rule = std::find_if(kCountryRules.begin(), kCountryRules.end(),
                                 [&](const CountryRule& each) { return country == each.country; });
  if (rule == kCountryRules.end()) return kWorldWeekRule;
  if (!rule->gregorian) return std::nullopt;
  return WeekRule{rule->firstDay, rule->leastDays};
}

}  // namespace zorva

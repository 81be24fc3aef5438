#pragma once

#include <ctime>
#include <optional>
#include <string_view>

namespace zorva {

/// Which year a week belongs to, as the Unicode locale data (CLDR 42) has it for a country.
struct WeekRule {
  int firstDay;   ///< of a week; 0 is Sunday
  int leastDays;  ///< that a week needs in a year to be that year's first

  /// The year of the week that the day lies in.
  int weekYear(const std::tm& day) const;
};

/// The rule for a locale that writes dates by the Gregorian calendar with the digits 0 to 9;
/// nothing for one that does not, and for one that is not known here to do so.
std::optional<WeekRule> weekRuleOfPlainLocale(std::string_view locale);

/// What holds where nothing else is known.
constexpr WeekRule kWorldsWeekRule{1, 1};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string_view>

namespace zorva {

/// Which year a week belongs to.
struct WeekRule {
  int firstDay;   ///< of a week; 0 is Sunday
  int leastDays;  ///< that a week needs in a year to be that year's first

  /// The year of the week that the day lies in.
  int weekYear(const std::tm& day) const;
};

/// The rule of a locale that writes dates by the Gregorian calendar with the digits 0 to 9; nothing
/// for one that does not, and for one that names no country or a variant.
std::optional<WeekRule> weekRuleOfPlainLocale(std::string_view locale);

// What the ICU that was installed when this was built says; written by LocaleRules_generator.cpp.

struct CountryRule {
  char country[4];  ///< as a locale identifier has it
  std::uint8_t firstDay;
  std::uint8_t leastDays;
  bool gregorian;  ///< the calendar
};
/// The countries that differ from the world.
extern const std::span<const CountryRule> kCountryRules;
/// What holds elsewhere.
extern const WeekRule kWorldWeekRule;
/// The languages that have digits of their own in any country: " ar bn fa ".
extern const std::string_view kLanguagesWithDigits;

}  // namespace zorva

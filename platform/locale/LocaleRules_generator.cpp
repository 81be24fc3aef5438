// SPDX-License-Identifier: Apache-2.0 Runs during the build: writes the tables declared in
// LocaleRules.h, from the data of the ICU that this program is linked with, to the given file.

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <unicode/ucal.h>
#include <unicode/uloc.h>
#include <unicode/unumsys.h>
#include <vector>

namespace {

struct Rule {
  int firstDay, leastDays;
  bool gregorian;
  bool operator==(const Rule&) const = default;
};

void check(UErrorCode status, const std::string& locale) {
  if (U_SUCCESS(status)) return;
  std::fprintf(stderr, "ICU does not know locale '%s': %s\n", locale.c_str(), u_errorName(status));
  std::exit(1);
}

Rule ruleOfCountry(const std::string& country) {
  const std::string locale = "en_" + country;
  UErrorCode status = U_ZERO_ERROR;
  UCalendar* const calendar = ucal_open(nullptr, 0, locale.c_str(), UCAL_DEFAULT, &status);
  check(status, locale);
  const Rule rule{ucal_getAttribute(calendar, UCAL_FIRST_DAY_OF_WEEK) - UCAL_SUNDAY,
                  ucal_getAttribute(calendar, UCAL_MINIMAL_DAYS_IN_FIRST_WEEK),
                  std::string("gregorian") == ucal_getType(calendar, &status)};
  check(status, locale);
  ucal_close(calendar);
  return rule;
}

// Every code that a country can have.
std::vector<std::string> countries() {
  std::vector<std::string> codes;
  for (char first = 'A'; first <= 'Z'; ++first) {
    for (char second = 'A'; second <= 'Z'; ++second) codes.push_back({first, second});
  }
  for (int region = 1; region < 1000; ++region)
    codes.push_back(std::to_string(1000 + region).substr(1));
  return codes;
}

std::set<std::string> languagesWithDigits() {
  std::set<std::string> languages;
  for (int i = 0; i < uloc_countAvailable(); ++i) {
    const std::string locale = uloc_getAvailable(i);
    UErrorCode status = U_ZERO_ERROR;
    UNumberingSystem* const digits = unumsys_open(locale.c_str(), &status);
    check(status, locale);
    if (unumsys_getName(digits) != std::string("latn")) {
      languages.insert(locale.substr(0, locale.find('_')));
    }
    unumsys_close(digits);
  }
  return languages;
}

}  // namespace

int main(int count, char** arguments) {
  std::FILE* const file = count == 2 ? std::fopen(arguments[1], "w") : nullptr;
  if (file == nullptr) {
    std::fprintf(stderr, "Usage: locale_rules FILE\n");
    return 2;
  }
  const Rule world = ruleOfCountry("001");
  std::fprintf(file,
               "#include \"platform/locale/LocaleRules.h\"\n\n"
               "namespace zorva {\n\n"
               "// By ICU " U_ICU_VERSION
               ".\n"
               "static constexpr CountryRule kRules[] = {\n");
  for (const std::string& country : countries()) {
    const Rule rule = ruleOfCountry(country);
    if (rule == world) continue;
    std::fprintf(file, "    {\"%s\", %d, %d, %s},\n", country.c_str(), rule.firstDay,
                 rule.leastDays, rule.gregorian ? "true" : "false");
  }
  std::fprintf(file,
               "};\n"
               "const std::span<const CountryRule> kCountryRules(kRules);\n"
               "const WeekRule kWorldWeekRule{%d, %d};\n"
               "const std::string_view kLanguagesWithDigits = \"",
               world.firstDay, world.leastDays);
  for (const std::string& language : languagesWithDigits()) {
    std::fprintf(file, " %s", language.c_str());
  }
  std::fprintf(file, " \";\n\n}  // namespace zorva\n");
  const bool written = std::ferror(file) == 0;
  return std::fclose(file) == 0 && written ? 0 : 1;
}

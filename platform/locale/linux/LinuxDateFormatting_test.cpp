#include "platform/locale/linux/LinuxDateFormatting.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unicode/ulocdata.h>

#include "platform/locale/linux/WeekRules.h"
#include "platform/locale/sim/IcuDateFormatting.h"

namespace zorva {
namespace {

using namespace std::chrono;

// The dates around New Year in every locale, whether written here or by the ICU that was loaded.
TEST(LinuxDateFormatting, WritesWhatIcuWrites) {
  UVersionInfo cldr;
  UErrorCode status = U_ZERO_ERROR;
  ulocdata_getCLDRVersion(cldr, &status);
  if (cldr[0] != 42) GTEST_SKIP() << "rules are those of CLDR 42, not " << int{cldr[0]};
  std::vector<Date> dates;
  for (int year = 2026; year < 2033; ++year) {
    for (int day = -4; day < 4; ++day) {
      dates.emplace_back(sys_days(std::chrono::year(year) / 1 / 1) + days(day) + 13h + 5min + 9s);
    }
  }
  dates.emplace_back(sys_days(2026y / 3 / 29) + 1h);  // summer time begins
  LinuxLocaleInformation::Settings settings{"", "Europe/Berlin"};
  setenv("TZ", settings.zone.c_str(), 1);
  LinuxDateFormatting formatting([&]() -> const auto& { return settings; });
  IcuDateFormatting icu([&] { return LocaleSettings{settings.locale, settings.zone}; });
  int plain = 0;
  for (const std::string pattern :
       {"MM/dd/YY HH:mm:ss", "YYYY-MM-dd-HHmmss", "d.M.yy", "MMM ss.SSS"}) {
    const auto ours = formatting.makeFormatter(pattern);
    const auto theirs = icu.makeFormatter(pattern);
    for (std::int32_t i = 0; i < uloc_countAvailable(); ++i) {
      settings.locale = uloc_getAvailable(i);
      plain += weekRuleOfPlainLocale(settings.locale) ? 1 : 0;
      for (const Date date : dates) {
        ASSERT_EQ(ours->format(date), theirs->format(date)) << settings.locale << " " << pattern;
      }
    }
  }
  EXPECT_GT(plain, 4 * 300);
  unsetenv("TZ");
}

}  // namespace
}  // namespace zorva

#include "platform/locale/sim/IcuDateFormatting.h"

#include <gtest/gtest.h>

namespace zorva {
namespace {

using namespace std::chrono;

TEST(IcuDateFormatting, AppliesPatternAsItStands) {
  const std::string entry = "MM/dd/YY HH:mm:ss";
  const struct {
    const char* locale;
    const char* zone;
    std::string pattern;
    Date date;
    const char* text;
  } cases[] = {
      {"en_US", "UTC", entry, sys_days(2026y / 12 / 31) + 12h, "12/31/27 12:00:00"},
      {"de_DE", "UTC", entry, sys_days(2026y / 12 / 31) + 12h, "12/31/26 12:00:00"},
      {"de_DE", "UTC", entry, sys_days(2027y / 1 / 1), "01/01/26 00:00:00"},
      {"en_US.UTF-8", "Asia/Kathmandu", "YYYY-MM-dd-HHmmss",
       sys_days(2026y / 11 / 16) + 8h + 22min + 16s, "2026-11-16-140716"},
      {"en_US", "UTC", "yyyy-MM-dd HH:mm:ss.SSS", sys_days(1969y / 12 / 31) + 24h - 1us,
       "1969-12-31 23:59:59.999"},
      {"xx_YY", "Nowhere/Land", entry, sys_days(2026y / 7 / 1) + 12h, "07/01/26 12:00:00"},
      {"", "", entry, sys_days(2026y / 7 / 1) + 12h, "07/01/26 12:00:00"},
  };
  for (const auto& c : cases) {
    IcuDateFormatting formatting([&] { return LocaleSettings{c.locale, c.zone}; });
    EXPECT_EQ(formatting.makeFormatter(c.pattern)->format(c.date), c.text) << c.locale;
  }
}

TEST(IcuDateFormatting, FollowsSettingsAndSecondsAndFractions) {
  LocaleSettings settings{"en_US", "UTC"};
  IcuDateFormatting formatting([&] { return settings; });
  const auto seconds = formatting.makeFormatter("YY HH:mm:ss");
  const auto fractions = formatting.makeFormatter("ss.SSS");
  const Date date = sys_days(2026y / 12 / 31) + 12h;
  EXPECT_EQ(seconds->format(date), "27 12:00:00");
  settings = {"de_DE", "Europe/Berlin"};
  EXPECT_EQ(seconds->format(date + 999999us), "26 13:00:00");
  EXPECT_EQ(seconds->format(date + 1s), "26 13:00:01");
  EXPECT_EQ(fractions->format(date), "00.000");
  EXPECT_EQ(fractions->format(date + 250ms), "00.250");
}

}  // namespace
}  // namespace zorva

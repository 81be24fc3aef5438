// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LocalDateFormatting.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/unistr.h>

#include "platform/assemble/SimHandset.h"
#include "platform/locale/LocalTime.h"
#include "platform/locale/LocaleRules.h"
#include "platform/locale/linux/LinuxLocaleInformation.h"
#include "platform/loop/sim/SimClock.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using namespace std::chrono;

class LocalDateFormattingTest : public testing::Test {
 protected:
  DateSettings settings_{"en_US", "Europe/Berlin"};
  LocalDateFormatting formatting_{[this]() -> const auto& {return settings_;
}, [this](Date date) { return localTimeIn(settings_.zone, date); }
};  // namespace
};  // namespace zorva

// The text of ICU with its own zones.
std::string icuText(UDateFormat* format, Date date) {
  UErrorCode status = U_ZERO_ERROR;
  UChar text[128];
  const auto length = udat_format(
      format, static_cast<UDate>(duration_cast<milliseconds>(date.time_since_epoch()).count()),
      text, 128, nullptr, &status);
  std::string bytes;
  icu::UnicodeString(text, length).toUTF8String(bytes);
  return U_SUCCESS(status) ? bytes : u_errorName(status);
}

// The dates around New Year in every locale, whether formatted by our own code or by ICU.
TEST_F(LocalDateFormattingTest, AgreesWithIcu) {
  std::vector<Date> dates;
  for (int year = 2026; year < 2033; ++year) {
    for (int day = -4; day < 4; ++day) {
      dates.emplace_back(sys_days(std::chrono::year(year) / 1 / 1) + days(day) + 13h + 5min + 9s);
    }
  }
  dates.emplace_back(sys_days(2026y / 3 / 29) + 1h);  // daylight-saving time begins
  std::vector<std::string> locales;
  for (std::int32_t i = 0; i < uloc_countAvailable(); ++i) locales.push_back(uloc_getAvailable(i));
  // Countries with a language for which ICU has no data there.
  for (const char* const* country = uloc_getISOCountries(); *country != nullptr; ++country) {
    locales.push_back(std::string("fi_") + *country);
  }
  setenv("TZ", settings_.zone.c_str(), 1);
  LocalDateFormatting formatting(
      [this]() -> const auto& { return settings_; }, localTime);
  UErrorCode status = U_ZERO_ERROR;
  uloc_setDefault("", &status);
  std::size_t plain = 0;
  for (const std::u16string pattern :
       {u"MM/dd/YY HH:mm:ss", u"YYYY-MM-dd-HHmmss", u"d.M.yy", u"MMM ss.SSS"}) {
    const std::string letters(pattern.begin(), pattern.end());
    const auto ours = formatting.makeFormatter(letters);
    for (const std::string& locale : locales) {
      settings_.locale = locale;
      plain += weekRuleOfPlainLocale(locale) ? 1 : 0;
      UDateFormat* const theirs =
          udat_open(UDAT_PATTERN, UDAT_PATTERN, locale.c_str(), u"Europe/Berlin", -1,
                    pattern.data(), static_cast<std::int32_t>(pattern.size()), &status);
      for (const Date date : dates) {
        ASSERT_EQ(ours->format(date), icuText(theirs, date)) << locale << " " << letters;
      }
      udat_close(theirs);
    }
  }
  unsetenv("TZ");
  EXPECT_GT(plain, 4 * locales.size() / 2);
}

TEST_F(LocalDateFormattingTest, FollowsSettingsAndSecondsAndFractions) {
  const auto seconds = formatting_.makeFormatter("YY HH:mm:ss");
  const auto fractions = formatting_.makeFormatter("ss.SSS");
  const Date date = sys_days(2026y / 12 / 31) + 12h;
  settings_ = {"en_US", "UTC"};
  EXPECT_EQ(seconds->format(date), "27 12:00:00");
  settings_ = {"de_DE", "UTC"};
  EXPECT_EQ(seconds->format(date), "26 12:00:00");
  settings_.zone = "Asia/Kathmandu";
  EXPECT_EQ(seconds->format(date + 999999us), "26 17:45:00");
  EXPECT_EQ(seconds->format(date + 1s), "26 17:45:01");
  EXPECT_EQ(fractions->format(date), "00.000");
  EXPECT_EQ(fractions->format(date + 250ms), "00.250");
  EXPECT_EQ(fractions->format(Date(-1us)), "59.999");
  // Unknown locales and zones.
  settings_ = {"xx_YY", "Nowhere/Land"};
  EXPECT_EQ(seconds->format(date - 183 * 24h), "26 12:00:00");
  settings_ = {"", ""};
  EXPECT_EQ(seconds->format(date - 183 * 24h), "26 12:00:00");
}

TEST_F(LocalDateFormattingTest, AbbreviatesZonesTheSameOnBothPlatforms) {
  setenv("TZ", "Asia/Tokyo", 1);
  const struct {
    const char* zone;
    Date date;
    std::string text;
  } cases[] = {{"Europe/Berlin", sys_days(2026y / 1 / 1), "CET 0"},
               {"Europe/Berlin", sys_days(2026y / 7 / 1), "CEST 1"},
               {"America/Los_Angeles", sys_days(2026y / 1 / 1), "PST 0"},
               {"America/Los_Angeles", sys_days(2050y / 7 / 1), "PDT 1"},
               {"America/Sao_Paulo", sys_days(2026y / 1 / 1), "-03 0"},
               {"UTC", sys_days(2026y / 1 / 1), "UTC 0"}};
  LoopForTest loop;
  for (const auto& [zone, date, text] : cases) {
    const auto both = [](LocaleInformation& locale) {
      return locale.timeZoneAbbreviation() + (locale.daylightSavingTime() ? " 1" : " 0");
    };
    const SimClock clock(date);
    setenv("TZ", zone, 1);
    LinuxLocaleInformation real(loop.event(), clock);
    EXPECT_EQ(both(real), text);
    setenv("TZ", "Asia/Tokyo", 1);
    SimHandset handset;
    handset.locale().setIdentifier("de_DE");
    handset.locale().setTimeZone(zone);
    handset.locale().setClock(date);
    EXPECT_EQ(both(handset.locale()), text);
    EXPECT_STREQ(getenv("TZ"), "Asia/Tokyo");
    EXPECT_EQ(zoneAbbreviation(date), "JST");
  }
  unsetenv("TZ");
  EXPECT_TRUE(isTimeZone("Europe/Berlin"));
  for (const char* name : {"", "Europe", "/usr/share/zoneinfo/UTC", "Mars/Olympus",
                           "../zoneinfo/UTC", "tzdata.zi", "CET-1"}) {
    EXPECT_FALSE(isTimeZone(name)) << name;
  }
}

}  // namespace
}  // namespace zorva

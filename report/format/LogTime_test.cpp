// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogTime.h"

#include <chrono>
#include <gtest/gtest.h>
#include <unicode/uloc.h>
#include <vector>

#include "platform/locale/LocalDateFormatting.h"
#include "platform/locale/LocaleParts.h"

namespace zorva {
namespace {

using namespace std::chrono;

constexpr LogTime kDay = 86400;

LogTime timeOf(Date date) {
  return duration_cast<seconds>(date.time_since_epoch()).count();
}

// What the daemon writes in every locale that ICU knows, and in every country in a language that it
// does not know there. Read with the locale's entry, and without it.
TEST(LogTimeTest, EveryLocalesDatesAreReadBack) {
  std::vector<std::string> locales{"de-DE-u-nu-thai", "zh-TW-u-ca-roc", "ja-JP-u-ca-japanese",
                                   "th-TH-u-ca-buddhist-nu-thai"};
  for (std::int32_t i = 0; i < uloc_countAvailable(); ++i) locales.push_back(uloc_getAvailable(i));
  for (const char* const* country = uloc_getISOCountries(); *country != nullptr; ++country) {
    locales.push_back(std::string("fi_") + *country);
  }
  // The days around each New Year, Nowruz and Muharram are among them.
  std::vector<Date> dates;
  for (sys_days day = 2026y / 11 / 16; day < sys_days(2031y / 7 / 1);) {
    dates.push_back(day + 23h + 59min + seconds(dates.size() % 60));
    const auto month = year_month_day(day).month();
    day += month >= March && month <= June && dates.size() % 3 != 0 ? days(1) : days(2);
  }
  DateSettings settings;
  LocalDateFormatting formatting(
      [&]() -> const auto& { return settings; },
      [](Date date) {
        const std::time_t time = timeOf(date);
        std::tm broken{};
        gmtime_r(&time, &broken);
        return broken;
      });
  const auto formatter = formatting.makeFormatter("MM/dd/YY HH:mm:ss");
  std::size_t foreign = 0;
  for (const std::string& locale : locales) {
    settings.locale = locale;
    LogClock told, untold;
    told.setLocale(locale, countryCode(locale).value_or("(null)"));
    EXPECT_EQ(told.unreadableCalendar(), "") << locale;
    for (const Date date : dates) {
      const std::string text = formatter->format(date) + " [Battery]";
      foreign += isascii(text[0]) ? 0 : 1;
      std::size_t length = 0;
      ASSERT_EQ(told.read(text, length), timeOf(date)) << locale << " " << text;
      ASSERT_EQ(text.substr(length), " [Battery]") << locale;
      ASSERT_EQ(untold.read(text, length), timeOf(date)) << locale << " " << text;
    }
  }
  EXPECT_GT(foreign, 50 * dates.size());
}

TEST(LogTimeTest, ALocaleSettlesWhatAYearMeans) {
  const auto read = [](const char* id, const char* country, const char* text) {
    LogClock clock;
    clock.setLocale(id, country);
    std::size_t length = 0;
    return clock.read(text, length).value_or(-1) / kDay;
  };
  const auto day = [](year_month_day date) { return sys_days(date).time_since_epoch().count(); };
  // Without ICU, the daemon dates by the Gregorian calendar.
  EXPECT_EQ(read("fi_IR", "IR", "11/25/26 00:00:00"), day(2026y / 11 / 25));
  EXPECT_EQ(read("fi_SA", "SA", "11/25/26 00:00:00"), day(2026y / 11 / 25));
  // The clock was lost.
  EXPECT_EQ(read("de_DE", "DE", "01/02/70 00:00:00"), 1);
  EXPECT_EQ(read("de_DE", "DE", "03/01/05 00:00:00"), day(2005y / 3 / 1));
  EXPECT_EQ(read("fa_IR", "IR", "10/12/48 00:00:00"), 1);
  LogClock clock;
  clock.setLocale("he-IL-u-ca-hebrew-nu-latn", "IL");
  EXPECT_EQ(clock.unreadableCalendar(), "hebrew");
}

TEST(LogTimeTest, TheWeeksYearIsResolved) {
  const auto times = [](std::initializer_list<const char*> dates) {
    LogClock clock;
    std::vector<LogTime> read;
    for (const char* date : dates) {
      std::size_t length = 0;
      read.push_back(clock.read(date, length).value_or(-1));
    }
    for (std::size_t i = read.size(); i-- > 1;) read[i] -= read[i - 1];
    return read;
  };
  // 11/17/26 is day 20774.
  EXPECT_EQ(times({"11/17/26 00:00:01"}), (std::vector<LogTime>{20774 * kDay + 1}));
  // United States: 27 December 2026 is a Sunday, and in the week of New Year.
  EXPECT_EQ(
      times({"12/26/26 00:00:00", "12/27/27 00:00:00", "12/31/27 00:00:00", "01/01/27 00:00:00"}),
      (std::vector<LogTime>{20813 * kDay, kDay, 4 * kDay, kDay}));
  // The same without anything before it.
  EXPECT_EQ(times({"12/31/27 00:00:00", "01/01/27 00:00:00"}),
            (std::vector<LogTime>{20818 * kDay, kDay}));
  // Germany: 1 to 3 January 2027 are in the last week of 2026.
  EXPECT_EQ(times({"12/24/26 00:00:00", "12/31/26 00:00:00", "01/01/26 00:00:00",
                   "01/03/26 00:00:00", "01/04/27 00:00:00"}),
            (std::vector<LogTime>{20811 * kDay, 7 * kDay, kDay, 2 * kDay, kDay}));
}

}  // namespace
}  // namespace zorva

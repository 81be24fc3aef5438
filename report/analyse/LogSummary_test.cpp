// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogSummary.h"

#include <fstream>
#include <gtest/gtest.h>

#include "platform/base/Text.h"
#include "report/analyse/ChargeAccount.h"
#include "report/text/SummaryText.h"

namespace zorva {
namespace {

LogSummary summaryOf(LogReader::Read read, const LogWindow& window = {}) {
  LogReader reader;
  LogRecord record;
  LogSummarizer summarizer(window);
  reader.begin(std::move(read));
  while (reader.next(record)) summarizer.add(record);
  return summarizer.finish();
}

LogSummary summaryOf(const std::string& scenario, const LogWindow& window = {}) {
  std::ifstream log("scenarios/" + scenario + ".log");
  return summaryOf(readFrom(log), window);
}

std::string text(const LogSummary::Charge& charge) {
  return formatText("%.1f/%lld", charge.percent, (long long)charge.seconds);
}

std::string text(const std::vector<LogSummary::Tally>& tallies, bool times) {
  std::string all;
  for (const auto& tally : tallies) {
    all += tally.name + (tally.detail.empty() ? "" : " " + tally.detail) + ":" +
           std::to_string(tally.count);
    if (times) all += formatText("/%lld/%lld", (long long)tally.seconds, (long long)tally.longest);
    all += tally.goesOn ? "+; " : "; ";
  }
  return all;
}

std::string text(const std::vector<LogSummary::Amount>& amounts) {
  std::string all;
  for (const auto& [name, amount] : amounts) all += name + ":" + std::to_string(amount) + "; ";
  return all;
}

std::string sleeps(const LogSummary& summary) {
  std::string all;
  for (const auto& sleep : summary.longestSleeps) {
    all += formatText("%lld ", (long long)(sleep.end - sleep.begin)) + sleep.reason + "; ";
  }
  return all;
}

// Every figure here is derived from the scenario: what it does, and when.
TEST(LogSummary, OfTheNightIsWhatItsScenarioDoes) {
  const LogSummary night = summaryOf("night");
  EXPECT_EQ(night.covered, 9 * 3600 + 70);
  EXPECT_EQ(*night.firstLevel, 64.2);
  EXPECT_EQ(*night.lastLevel, 57.9);
  EXPECT_EQ(text(night.awake), "1.4/1000");
  EXPECT_EQ(text(night.mixed), "0.3/3640");
  EXPECT_EQ(text(night.asleep), "4.6/27760");
  EXPECT_EQ(text(night.charging), "0.0/0");
  EXPECT_EQ(night.sleeps, 6U);
  EXPECT_EQ(night.asleepSeconds, 2532 + 5058 + 3200 + 4430 + 5270 + 9640);
  EXPECT_EQ(sleeps(night),
            "2532 exton2(bb); 5058 exton2(bb); 3200 exton2(bb); 4430 <unknown>; 5270 exton(bb); "
            "9640 rtc; ");
  EXPECT_EQ(night.wakes, 6U);
  EXPECT_EQ(text(night.wakeReasons, false), "exton2(bb):3; <unknown>:1; exton(bb):1; rtc:1; ");
  EXPECT_EQ(text(night.wakeOwners, false),
            "Incoming Call:1; Incoming SMS:1; no process (UDP to port 31337):1; pushd:1; ");
  EXPECT_EQ(text(night.lane(Lane::Assertion), true),
            "Homescreen Display on:2/2040/2040+; commcenter Call:2/790/760; "
            "Homescreen Alarm:1/70/70; ");
  EXPECT_EQ(night.seconds(Lane::Display), 34 * 60 + 70);
  EXPECT_EQ(text(night.lane(Lane::Call), true), " Active:1/751/751;  Ringing:2/39/30; ");
  EXPECT_EQ(text(night.processes), "commcenter:11; Homescreen:1; ");
  EXPECT_EQ(night.received, 5120);
  EXPECT_EQ(night.sent, 1.2 * 1024);
  EXPECT_EQ(*night.weakestSignal, -83);
  EXPECT_EQ(text(night.modem), "Sleep:20410000; Active:761000; Idle:159000; ");
  ASSERT_EQ(night.errors.size(), 1U);
  EXPECT_EQ(night.errors[0].text, "Could not get wake reason (errno: 2)");
  EXPECT_EQ(night.interruptionCount, 0U);
}

TEST(LogSummary, OfTheDayIsWhatItsScenarioDoes) {
  const LogSummary day = summaryOf("day");
  EXPECT_EQ(day.covered, 17 * 3600 + 32 * 60);
  EXPECT_EQ(text(day.awake), "40.6/18780");  // the train, London, the hotel
  EXPECT_EQ(text(day.mixed), "18.9/18600");  // the office
  EXPECT_EQ(text(day.asleep), "0.0/0");      // on the flight the zone changed
  EXPECT_EQ(day.awakeOnBattery(), day.covered - 18805 - 9720 + 2);  // a nap on the dock
  EXPECT_EQ(text(day.charging), "58.2/9600");  // the dock, the charger while too warm, and then
  EXPECT_EQ(sleeps(day),
            "2 rtc; 1578 exton2(bb); 4895 exton2(bb); 4410 exton(bb); 7920 button; 0 ; ");
  EXPECT_EQ(text(day.wakeReasons, false), "exton2(bb):2; button:1; exton(bb):1; rtc:1; ");
  EXPECT_EQ(text(day.wakeOwners, false), "Incoming Call:1; mail:1; pushd:1; ");
  EXPECT_EQ(text(day.lane(Lane::Assertion), true),
            "Homescreen Display on:1/10460/10460; mediad Playing audio:1/7020/7020; "
            "mediad Dock audio:1/3120/3120; racer Game:1/2940/2940; maps Navigation:1/2100/2100; "
            "commcenter Call:1/223/223; Homescreen Alarm:1/40/40; ");
  EXPECT_EQ(text(day.processes),
            "racer:2461; maps:400; mediad:202; Homescreen:132; geod:125; commcenter:4; mail:4; "
            "pushd:1; ");
  EXPECT_NEAR(day.received, 1258291 + 15728640 + 9437184 + 3145728, 1024);
  ASSERT_EQ(day.interruptions.size(), 1U);
  EXPECT_EQ(day.interruptions[0].before - day.interruptions[0].after, 3600);
  EXPECT_NEAR(day.interrupted, 72.3 - 70.4, 1e-9) << "on the flight";
}

TEST(ChargeAccount, MoreThanATenthOnTheChargerCountsAsCharging) {
  for (const LogTime seconds : {9, 11, 50}) {
    ChargeAccount account;
    account.addLevel(0, 50);
    account.addLevel(100, 60);
    account.addCharging(20, 20 + seconds);
    LogSummary summary;
    account.close(summary);
    EXPECT_EQ(text(summary.charging), seconds > 10 ? "10.0/100" : "0.0/0") << seconds;
    EXPECT_EQ(text(summary.awake), seconds > 10 ? "0.0/0" : "-10.0/100") << seconds;
  }
}

TEST(LogSummary, OfAWindowCountsWhatIsInIt) {
  const LogTime from = *logTimeFrom("2026-11-16 22:30", false);
  const LogSummary window = summaryOf("night", {from, *logTimeFrom("11/17/26 01:00:00", false)});
  EXPECT_EQ(window.covered, 9000);
  EXPECT_EQ(window.first, from);
  EXPECT_TRUE(window.longestSleeps.back().goesOn);
  const LogSummary asleep = summaryOf("night", {from, from + 60});
  EXPECT_EQ(formatText("%d %lld", asleep.isEmpty(), (long long)asleep.asleepSeconds), "0 60");
  EXPECT_EQ(sleeps(window), "1032 exton2(bb); 5058 exton2(bb); 2860 ; ");
  EXPECT_EQ(text(window.asleep), "0.9/5083");
  EXPECT_EQ(text(window.mixed), "0.0/0");
  EXPECT_EQ(window.lane(Lane::Assertion).size(), 0U);
  EXPECT_EQ(text(window.processes), "");
  EXPECT_EQ(*logTimeFrom("2026-11-16", true) + 1, *logTimeFrom("2026-11-17T00:00:00", false));
  for (const char* const wrong : {"", "22:30", "2026-11-31", "2026-11-16 24:00", "2026-11-16 1:00",
                                  "11/16/26 22:05:00 ", "2026-11-16x22:05"}) {
    EXPECT_FALSE(logTimeFrom(wrong, false)) << wrong;
  }
}

TEST(SummaryText, KeepsToItsWidthAndLetsNothingReachTheTerminal) {
  std::string log = "Zorva Version: 5\n11/16/26 10:00:00 [WiFi] status=on; ap=\033[31mRed\xff" +
                    std::string(90, 'x') + ";\ncut\033[2J li\n" +
                    "11/16/26 10:00:00 [Battery] level=50.00%;\n";
  for (int i = 10; i < 60; ++i) {
    log += formatText("11/16/26 1%d:%02d:00 [Sleep] event=will_sleep;\n", i / 30, i % 30 * 2) +
           formatText("11/16/26 1%d:%02d:%02d [Wake] reason=r%d; info=<none>;\n", i / 30,
                      i % 30 * 2, i, i);
  }
  LogReader reader;
  LogReading reading{{"a\nb.log"}, {}, {}};
  LogRecord record;
  reader.begin(readFrom(log));
  while (reader.next(record)) reading.note(record, "a\nb.log");
  reading.counts = reader.counts();
  const std::string page = summaryText(summaryOf(readFrom(log)), reading, {70, false});
  EXPECT_EQ(page.find_first_of("\033\xff\r"), page.npos);
  for (std::size_t at = 0; at < page.size(); at = page.find('\n', at) + 1) {
    EXPECT_LE(columnsOf(page.substr(at, page.find('\n', at) - at)), 70U) << page.substr(at, 90);
  }
  for (const char* const part :
       {"a\\x0ab.log\n", "  16 Nov 11:58:00  59 s  r59\n",
        "  The longest; 38 others took 18 min 3 s", "  And 40 more.\n", "\\x1b[31mRed",
        "  1 line is damaged or foreign, and left out:\n", "  a\\x0ab.log:3  cut\\x1b[2J li\n"}) {
    EXPECT_NE(page.find(part), page.npos) << part << page;
  }
}

}  // namespace
}  // namespace zorva

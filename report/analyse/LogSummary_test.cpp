// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogSummary.h"

#include <fstream>
#include <gtest/gtest.h>

#include "platform/base/Text.h"
#include "report/answer/Answer.h"
#include "report/text/SummaryText.h"

// The reports of the scenarios are in tests/reports.

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

std::string text(const Account::Charge& charge) {
  return formatText("%.1f/%lld", charge.percent, (long long)charge.seconds);
}

std::string sleeps(const LogSummary& summary) {
  std::string all;
  for (const auto& sleep : summary.longestSleeps) {
    all += formatText("%lld ", (long long)(sleep.end - sleep.begin)) + sleep.reason + "; ";
  }
  return all;
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
  EXPECT_EQ(text(Answer(window).account.asleep()), "0.9/5058");
  EXPECT_EQ(text(Answer(window).account.mixed()), "0.0/0");
  EXPECT_EQ(window.lane(Lane::Assertion).size(), 0U);
  EXPECT_TRUE(window.processes.empty());
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
  const LogSummary summary = summaryOf(readFrom(log));
  const std::string page = summaryText(summary, Answer(summary), reading, {70, false});
  EXPECT_EQ(page.find_first_of("\033\xff\r"), page.npos);
  for (std::size_t at = 0; at < page.size(); at = page.find('\n', at) + 1) {
    EXPECT_LE(columnsOf(page.substr(at, page.find('\n', at) - at)), 70U) << page.substr(at, 90);
  }
  for (const char* const part :
       {"a\\x0ab.log\n", "  16 Nov 11:58:00  59 s", "  The longest; 38 others took 18 min 3 s",
        "  And 40 more.\n", "\\x1b[31mRed", "  1 line is damaged or foreign, and left out:\n",
        "  a\\x0ab.log:3  cut\\x1b[2J li\n"}) {
    EXPECT_NE(page.find(part), page.npos) << part << page;
  }
}

// What is settled while the log is read is what it would have been at its end.
TEST(LogSummaryTest, SettledIntervals) {
  PowerIntervals settled{LogWindow{}};
  PowerIntervals whole{LogWindow{}};
  for (LogTime hour = 0; hour < 100; ++hour) {
    const LogTime now = hour * 3600;
    const ProcessUse use{"indexer", 1, static_cast<std::int64_t>(hour)};
    for (PowerIntervals* power : {&settled, &whole}) {
      power->battery({now, 100.0 - static_cast<double>(hour), {}, {}, {}});
      power->processes(now - 5400, now - 1800, std::span(&use, 1));
      if (hour % 5 != 0) continue;  // a sleep of four hours
      LogSpan span{};
      span.lane = Lane::Asleep;
      span.begin = now - 15000;
      span.end = now - 600;
      power->span(span);
    }
    if (hour % 7 == 0) settled.settle(now - 20000);
  }
  EXPECT_EQ(settled.intervals().size(), 92U);
  settled.close();
  whole.close();
  ASSERT_EQ(settled.intervals().size(), 99U);
  ASSERT_EQ(whole.intervals().size(), 99U);
  for (std::size_t i = 0; i < 99; ++i) {
    EXPECT_EQ(settled.intervals()[i].asleep, whole.intervals()[i].asleep);
    EXPECT_EQ(settled.intervals()[i].cpu, whole.intervals()[i].cpu);
    EXPECT_EQ(settled.intervals()[i].used, 1);
  }
  EXPECT_GT(whole.intervals()[97].cpu, 0);
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/answer/Answer.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "platform/base/Text.h"
#include "report/read/LogReader.h"

// Every figure of a day with a power model, and the rules by small logs written by hand.

namespace zorva {
namespace {

LogSummary summaryOf(const std::string& log, const LogWindow& window = {}) {
  LogReader reader;
  LogRecord record;
  LogSummarizer summarizer(window);
  reader.begin(readFrom(log));
  while (reader.next(record)) summarizer.add(record);
  return summarizer.finish();
}

std::string fileText(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// A log of "HH:MM text" entries of 11/16/26.
std::string dated(const std::vector<std::pair<const char*, std::string>>& entries) {
  std::string log = "Zorva Version: 5\n";
  for (const auto& [time, text] : entries) {
    log += std::string("11/16/26 ") + time + ":00 " + text + "\n";
  }
  return log;
}

std::string battery(double level, int current, const char* state = "Inactive") {
  return formatText(
      "[Battery] level=%.2f%%; voltage=10000 mV; current=%d mA; max_capacity=5000; "
      "charging_state=%s; charging_current=0 mA; battery_temp=30.00 C;",
      level, current, state);
}

TEST(LeastSquares, FindsCostsAndSaysWhatItCannotTellApart) {
  std::vector<Observation> apart;
  std::vector<Observation> alike;
  for (int i = 0; i < 20; ++i) {
    const double one = 1 + i % 4;
    const double other = 1 + i % 5;
    const double noise = i % 2 == 0 ? 0.01 : -0.01;
    apart.push_back({{one, other, 1}, 2 * one + 3 * other + noise, 0.01});
    alike.push_back({{one, one, 1}, 5 * one + noise, 0.01});
  }
  const LeastSquares fit = leastSquares(apart, 3);
  EXPECT_NEAR(fit.coefficients[0], 2, 0.02);
  EXPECT_NEAR(fit.coefficients[1], 3, 0.02);
  EXPECT_NEAR(fit.coefficients[2], 0, 0.05);
  EXPECT_LT(std::sqrt(fit.covarianceOf(0, 0)), 0.01);
  const LeastSquares both = leastSquares(alike, 3);
  EXPECT_NEAR(both.coefficients[0] + both.coefficients[1], 5, 0.02);
  EXPECT_GT(std::sqrt(both.covarianceOf(0, 0)), 1);
  EXPECT_LT(both.covarianceOf(0, 1), 0);
  // Nothing costs less than nothing.
  std::vector<Observation> falling;
  for (int i = 1; i < 9; ++i) falling.push_back({{1, static_cast<double>(i)}, 9.0 - i, 0.1});
  EXPECT_EQ(leastSquares(falling, 2).coefficients[1], 0);
}

// scenarios/laptop.truth less what it has of the time on the charger: there were the same display
// and processes for 9,000 s.
TEST(Account, OfTheLaptopsDayHoldsTheTruth) {
  const Answer answer(summaryOf(fileText("scenarios/laptop.log")));
  struct Truth {
    Cause cause;
    const char* name;
    double percent;
  };
  const double onCharger = 9000 / 1800.0;  // percent per W
  const Truth truths[] = {
      {Cause::Asleep, "", 9.4320},
      {Cause::Awake, "", 75.7020 - 3.1 * onCharger},
      {Cause::Display, "", 39.8550 - 0.03 * 55 * onCharger},
      {Cause::Process, "indexer", 10.3133},
      {Cause::Process, "browser", 15.4326 - 0.09 * 5.2 * onCharger},
      {Cause::Process, "desktop", 5.0794 - 0.04 * 5.2 * onCharger},
      {Cause::Process, "conference", 3.2760},
      {Cause::Audio, "", 2.0},
  };
  for (const Truth& truth : truths) {
    const AccountPart* const part = answer.whole.find(truth.cause, truth.name);
    ASSERT_NE(part, nullptr) << truth.name;
    const double most = std::max({0.1 * truth.percent, 1.5 * part->error, 0.5});
    EXPECT_NEAR(part->percent, truth.percent, most)
        << causeWord(truth.cause) << " " << truth.name << " +- " << part->error;
    EXPECT_EQ(part->measured, truth.cause == Cause::Process);
  }
  const Account::Charge asleep = answer.account.asleep();
  EXPECT_NEAR(asleep.percent, 9.4320, asleep.error);
  EXPECT_LT(asleep.error, 1);
  EXPECT_NEAR(answer.account.awake().percent, 156.3953 - 27.1414, answer.account.awake().error);
  EXPECT_NEAR(answer.gained, 111.9802 - 27.1414, 0.05);
  double sum = 0;
  for (const AccountPart& part : answer.whole.parts) sum += part.percent;
  EXPECT_NEAR(sum, answer.whole.percent, 1e-6);
  // Any part of the day adds up, too, and nothing exceeds its total.
  const LogTime noon = *logTimeFrom("2026-11-18 12:00:00", false);
  const AccountSum hour = answer.account.over(noon, noon + 3600);
  sum = 0;
  for (const AccountPart& part : hour.parts) {
    EXPECT_LE(part.percent, hour.percent + 1e-6);
    sum += part.percent;
  }
  EXPECT_NEAR(sum, hour.percent, 1e-6);
}

TEST(Account, HasNoIntervalOfWhichMoreThanATwentiethWasOnACharger) {
  // One percent in an hour, of which the charger was there for so many minutes.
  for (const int minutes : {2, 4, 30}) {
    const Answer answer(summaryOf(
        dated({{"10:00", battery(80, -100)},
               {"10:10",
                "[Battery] level=<unknown>; voltage=10000 mV; current=500 mA; "
                "max_capacity=5000; charging_state=Active; charging_current=0 mA;"},
               {formatText("10:%d", 10 + minutes).c_str(),
                "[Battery] level=<unknown>; voltage=10000 mV; current=-100 mA; max_capacity=5000; "
                "charging_state=Inactive; charging_current=0 mA;"},
               {"11:00", battery(79, -100)}})));
    EXPECT_EQ(answer.whole.seconds, minutes == 2 ? 3600 : 0) << minutes;
    EXPECT_EQ(answer.charged, minutes == 2 ? 0 : 3600) << minutes;
  }
}

TEST(Account, SeesWhoPlaysAndWhatEndsBetweenLists) {
  const std::string entry = "process=vlc; pid=7; name=Playing some media.; held_for=00:";
  const LogSummary summary = summaryOf(dated({
      {"10:00", battery(90, -900)},
      {"10:00", "[ProcessMonitor] init(1)=4; backup(9)=10;"},
      {"10:00", "[Audio] active=yes; route=Speaker; volume=50.0%;"},
      {"10:10", "[Assertion] state=created; " + entry + "00:00;"},
      {"10:20", "[Audio] active=no; route=Speaker; volume=50.0%;"},
      {"10:30", battery(85, -900)},
      {"10:30", "[ProcessMonitor] init(1)=4; backup(9)=310;"},
      {"10:40", "[Assertion] state=released; " + entry + "30:00;"},
      {"10:41", "[Assertion] state=created; process=x; pid=8; name=Displaying; held_for=00:00:00;"},
      {"11:00", battery(80, -900)},
      {"11:00", "[ProcessMonitor] init(1)=5;"},
  }));
  ASSERT_EQ(summary.intervals.size(), 2U);
  EXPECT_EQ(summary.intervals[0].audio, 30 * 60);
  EXPECT_EQ(summary.intervals[1].audio, 10 * 60);
  EXPECT_TRUE(summary.intervals[0].unseen.empty());
  // It ended after a list in which it had used 300 s: it may have used as much again.
  ASSERT_EQ(summary.intervals[1].unseen.size(), 1U);
  EXPECT_EQ(summary.names[summary.intervals[1].unseen[0].first], "backup");
  EXPECT_EQ(summary.intervals[1].unseen[0].second, 300);
  EXPECT_EQ(summary.intervals[1].likelyCpu(), 1 + 150);
}

TEST(Answer, TellsByCurrentAndWordsWhatAChargerDoes) {
  // Too hot to be charged, and drained: not on a charger.
  const std::string hot = dated({{"10:00", battery(80, -900, "OverTemp")},
                                 {"10:30", battery(72, -900, "OverTemp")},
                                 {"11:00", battery(65, -900, "OverTemp")}});
  const Answer drained(summaryOf(hot));
  EXPECT_NEAR(drained.whole.percent, 15, 1e-6);
  EXPECT_EQ(drained.charged, 0);
  ASSERT_FALSE(drained.verdict.empty());
  EXPECT_NE(drained.verdict[0].find("too hot to be charged for 1 h"), std::string::npos)
      << drained.verdict[0];
  // Charged, and drained all the same.
  const Answer weak(summaryOf(dated({{"10:00", battery(80, -300, "Active")},
                                     {"10:30", battery(76, -300, "Active")},
                                     {"11:00", battery(72, -300, "Active")}})));
  ASSERT_EQ(weak.findings.size(), 1U);
  EXPECT_EQ(weak.findings[0].kind, Finding::Kind::WeakCharger);
  EXPECT_NEAR(weak.findings[0].percent, 8, 1e-6);
  // A full battery on a charger shows some drift.
  const Answer full(
      summaryOf(dated({{"10:00", battery(100, -5, "Full")}, {"11:00", battery(100, 0, "Full")}})));
  EXPECT_EQ(full.whole.seconds, 0);
  EXPECT_EQ(full.charged, 3600);
}

TEST(Answer, BlamesHoldersForTimeAwakeAndForRefusedSleeps) {
  const std::string held = "process=p; pid=7; name=Play; held_for=";
  const LogSummary slept =
      summaryOf(dated({{"00:00", battery(80, -100)},
                       {"00:00", "[Assertion] state=created; " + held + "00:00:00;"},
                       {"00:30", "[Sleep] event=will_sleep;"},
                       {"08:30", "[Wake] reason=lid; info=<none>;"},
                       {"08:30", battery(78, -100)},
                       {"08:35", "[Sleep] event=will_not_sleep;"},
                       {"08:35", "[Assertion] state=released; " + held + "08:35:00;"},
                       {"08:40", battery(77, -100)}}));
  ASSERT_EQ(slept.lane(Lane::Assertion).size(), 1U);
  const LogSummary::Tally& holder = slept.lane(Lane::Assertion)[0];
  EXPECT_EQ(holder.seconds, 30900);
  EXPECT_EQ(holder.awake, 2100);
  EXPECT_EQ(holder.refused, 1U);
  ASSERT_EQ(slept.refusals.size(), 1U);
  EXPECT_EQ(slept.refusals[0].holder, "p: Play");

  // A night in the dark that never slept.
  std::vector<std::pair<const char*, std::string>> night = {
      {"00:00", "[Display] brightness=50; min=0; max=100; active=yes;"},
      {"00:00", battery(90, -500)},
      {"00:05", "[Display] brightness=0; min=0; max=100; active=no;"},
      {"00:06", "[Assertion] state=created; " + held + "00:00:00;"},
      {"00:10", "[Sleep] event=will_not_sleep;"}};
  const char* const hours[] = {"01:00", "02:00", "03:00", "04:00", "05:00"};
  for (int i = 0; i < 5; ++i) night.emplace_back(hours[i], battery(80 - 10 * i, -500));
  const Answer awake(summaryOf(dated(night)));
  ASSERT_FALSE(awake.findings.empty());
  EXPECT_EQ(awake.findings[0].kind, Finding::Kind::NeverSlept);
  for (const char* const part :
       {"because the device did not sleep", "p (\"Play\") kept it awake for 4 h 54 min"}) {
    EXPECT_NE(awake.verdict[0].find(part), std::string::npos) << awake.verdict[0];
  }
}

TEST(Answer, KnowsASleepThatOnlyTheKernelRecorded) {
  const LogSummary summary =
      summaryOf(dated({{"00:00", battery(80, -100)},
                       {"02:00", battery(78, -100)},
                       {"02:00", "[Wake] reason=rtc; info=<none>;"},
                       {"02:00",
                        "[Suspend] asleep=01:50:00; hardware=00:11:00; mode=s2idle; result=slept; "
                        "failed_step=<none>; failed_device=<none>; failed_error=0; "
                        "blocked_by=<none>;"},
                       {"02:10",
                        "[Suspend] asleep=00:00:00; hardware=00:00:00; mode=s2idle; result=failed; "
                        "failed_step=suspend; failed_device=usb1; failed_error=-16; "
                        "blocked_by=<none>;"}}));
  EXPECT_EQ(summary.asleepSeconds, 6600);
  const LogSummary nonsense =
      summaryOf(dated({{"00:00", battery(80, -100)},
                       {"01:00", battery(1e300, -100)},
                       {"02:00", "[Wake] reason=rtc; info=<none>;"},
                       {"02:00",
                        "[Suspend] asleep=9999999:00:00; hardware=<unknown>; mode=s2idle; "
                        "result=slept;"},
                       {"02:10", battery(79, -100)}}));
  EXPECT_EQ(nonsense.asleepSeconds, 7200);
  EXPECT_NEAR(Answer(nonsense).whole.percent, 1, 1e-6);
  ASSERT_EQ(summary.longestSleeps.size(), 1U);
  EXPECT_EQ(summary.longestSleeps[0].reason, "rtc");
  EXPECT_EQ(summary.longestSleeps[0].hardware, 660);
  EXPECT_EQ(summary.recordedAsleep, 6600);
  ASSERT_EQ(summary.refusals.size(), 1U);
  EXPECT_EQ(summary.refusals[0].device, "usb1");
}

TEST(Answer, ComparesANightWithTheSameHoursOfOtherDays) {
  std::string log = "Zorva Version: 5\n";
  // Three nights of 4, 6 and 20 percent, with chargers in between; each evening another 10.
  const std::pair<const char*, double> nights[] = {{"13", 4}, {"14", 6}, {"15", 20}};
  for (const auto& [day, used] : nights) {
    const std::string date = std::string("11/") + day + "/26 ";
    log += date + "00:00:00 " + battery(80, -100) + "\n";
    log += date + "06:00:00 " + battery(80 - used, -100) + "\n";
    log += date + "06:00:10 " + battery(80 - used, 2000, "AC On") + "\n";
    log += date + "19:59:50 " + battery(90, 2000, "AC On") + "\n";
    log += date + "20:00:00 " + battery(90, -900) + "\n";
    log += date + "23:59:50 " + battery(80, -900) + "\n";
  }
  std::size_t length = 0;
  const LogTime from = LogClock().read("11/15/26 00:00:00", length).value_or(0);
  const Answer night(summaryOf(log, {from, from + 6 * 3600}));
  EXPECT_NEAR(night.usual.value_or(0), 5, 0.1);
  EXPECT_EQ(night.usualDays, 2U);
  EXPECT_TRUE(
      night.verdict[0].starts_with("The battery fell 20 %, from 80 % to 60 %, in 6 h (in the same "
                                   "hours of 2 other days 5.0 % on average)"))
      << night.verdict[0];
  EXPECT_FALSE(Answer(summaryOf(log)).usual);
}

TEST(Answer, ClaimsNoMoreThanTheLogHas) {
  // The level goes up in every second sleep: sleeps used no more than there was.
  std::vector<std::pair<const char*, std::string>> noise;
  static const char* const kTimes[] = {"00:00", "01:00", "02:00", "03:00", "04:00", "05:00"};
  for (int i = 0; i < 6; ++i) {
    noise.emplace_back(kTimes[i], "[Wake] reason=rtc; info=<none>;");
    noise.emplace_back(kTimes[i], battery(50 + i % 2, -10));
    noise.emplace_back(kTimes[i], "[Sleep] event=will_sleep;");
  }
  const Answer slept(summaryOf(dated(noise)));
  EXPECT_LE(slept.account.asleep().percent, 1e-6);
  EXPECT_GE(slept.account.awake().percent, -1 - 1e-6);

  // What held the device awake on the charger is not to blame for the time on battery, and a holder
  // counts once, however many assertions it has.
  const std::string held =
      "[Assertion] state=created; process=backup; pid=7; name=Copy; held_for=0;";
  std::string gone = held;
  gone.replace(gone.find("created"), 7, "released");
  std::vector<std::pair<const char*, std::string>> day = {
      {"00:00", "[Display] brightness=9; min=0; max=9; active=yes;"},
      {"00:00", battery(50, 900, "Active")},
      {"00:01", "[Display] brightness=0; min=0; max=9; active=no;"},
      {"00:01", held},
      {"00:01", held},
      {"00:05", "[Sleep] event=will_not_sleep;"},
      {"02:00", gone},
      {"02:00", gone},
      {"02:00", battery(90, -900)},
      {"03:00", battery(85, -900)},
      {"04:00", battery(80, -900)}};
  const LogSummary summary = summaryOf(dated(day));
  EXPECT_EQ(summary.lane(Lane::Assertion)[0].refused, 1U);
  EXPECT_LE(summary.lane(Lane::Assertion)[0].awake, 7200);
  const Answer awake(summary);
  ASSERT_FALSE(awake.findings.empty());
  EXPECT_EQ(awake.findings[0].kind, Finding::Kind::NeverSlept);
  EXPECT_EQ(awake.findings[0].sentence.find("backup"), std::string::npos)
      << awake.findings[0].sentence;

  // A process that always comes with the rest is never the reason by itself.
  std::vector<std::string> times;
  for (int i = 0; i < 12; ++i) times.push_back(formatText("%02d:%02d", i / 2, i % 2 * 30));
  std::vector<std::pair<const char*, std::string>> steady;
  for (int i = 0; i < 12; ++i) {
    steady.emplace_back(times[static_cast<std::size_t>(i)].c_str(), battery(90 - 5 * i, -900));
    steady.emplace_back(times[static_cast<std::size_t>(i)].c_str(),
                        formatText("[ProcessMonitor] web(9)=%d;", 720 * i));
  }
  const Answer busy(summaryOf(dated(steady)));
  EXPECT_NE(busy.whole.find(Cause::Together), nullptr);
  EXPECT_EQ(busy.verdict[0].find("mostly because"), std::string::npos) << busy.verdict[0];
  EXPECT_NE(busy.verdict[0].find("web used 40 % of a processor"), std::string::npos);
  EXPECT_NE(busy.verdict[0].find("(at most "), std::string::npos) << busy.verdict[0];
}

}  // namespace
}  // namespace zorva

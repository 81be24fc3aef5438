// SPDX-License-Identifier: Apache-2.0
#include "report/text/LogNews.h"

#include <gtest/gtest.h>
#include <string_view>
#include <vector>

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

class LogNewsTest : public testing::Test {
 protected:
  // Lines "HH:mm:ss [Category] ..." of 16 November 2026.
  void add(std::string_view log, bool told = true) {
    std::string dated;
    for (std::size_t at = 0; at < log.size();) {
      const std::size_t end = log.find('\n', at) + 1;
      dated += "11/16/26 " + std::string(log.substr(at, end - at));
      at = end;
    }
    LogRecord record;
    reader_.begin(readFrom(dated));
    while (reader_.next(record)) news_.add(record, told);
  }

  // What has been printed since, without the day.
  Lines printed() { return std::exchange(lines_, {}); }

  Lines lines_;
  LogReader reader_;
  LogNews news_{[this](const std::string& line) { lines_.push_back(line.substr(7)); }};
};

TEST_F(LogNewsTest, HoldersAreNamedWhileTheyHoldInTheDarkAndAtTwiceThatTime) {
  add("22:00:00 [Display] brightness=9; min=0; max=9; active=yes;\n"
      "22:04:00 [Assertion] state=created; process=a; pid=1; name=Update; held_for=00:00:00;\n"
      "22:05:00 [Display] brightness=0; min=0; max=9; active=no;\n");
  printed();
  EXPECT_EQ(news_.due(), 300);
  news_.silent(299);
  EXPECT_EQ(printed(), Lines{});
  news_.silent(300);
  news_.silent(301);
  EXPECT_EQ(printed(), (Lines{"22:10:00  a has kept the device awake for 6 min, 5 min of it with a "
                              "dark display: Update."}));
  // Time asleep does not count, and time in the light neither.
  add("22:12:00 [Sleep] event=will_sleep;\n");
  EXPECT_EQ(news_.due(), std::nullopt);
  add("23:12:00 [Wake] reason=rtc; info=<none>;\n"
      "23:13:00 [Display] brightness=9; min=0; max=9; active=yes;\n"
      "23:33:00 [Display] brightness=0; min=0; max=9; active=no;\n"
      "23:35:00 [Thermal] level=0;\n");
  printed();
  EXPECT_EQ(news_.due(), 1);
  news_.silent(LogHistory::kMaxSilence + 1);  // the daemon may have ended
  EXPECT_EQ(printed(), Lines{});
  add("23:36:00 [Assertion] state=released; process=a; pid=1; name=Update; held_for=01:32:00;\n");
  EXPECT_EQ(printed(),
            (Lines{"23:35:00  a has kept the device awake for 31 min, 10 min of it with a dark "
                   "display: Update.",
                   "23:36:00  a kept the device awake for 32 min, held for 1 h 32 min: Update."}));
  // Taken again in the second of its release, it is another one.
  add("23:36:00 [Assertion] state=created; process=a; pid=1; name=Update; held_for=00:00:00;\n");
  EXPECT_EQ(news_.due(), 300);
}

TEST_F(LogNewsTest, HoldersOfOldEntriesAreNamedOnceAtTheBeginning) {
  add("22:00:00 [Assertion] state=held; process=a; pid=1; name=Old; held_for=01:00:00;\n"
      "22:31:00 [Thermal] level=0;\n",
      false);
  news_.silent(1);
  EXPECT_EQ(printed(), Lines{});
  news_.begin();
  EXPECT_EQ(printed(), (Lines{"22:31:00  a has kept the device awake for at least 31 min: Old."}));
  add("22:32:00 [Thermal] level=0;\n");
  EXPECT_EQ(news_.due(), 8 * 60);
}

TEST_F(LogNewsTest, APercentComesWithTheBusiestProcessSinceTheOneBefore) {
  add("22:00:00 [ProcessMonitor] a(1)=10; b(2)=0;\n"
      "22:00:00 [Work] a.service=10.0; b.service=0.0;\n"
      "22:00:00 [Battery] level=50.00%;\n"
      "22:10:00 [ProcessMonitor] a(1)=10; b(2)=90;\n"
      "22:10:00 [Work] a.service=10.0; b.service=90.0;\n"
      "22:20:00 [Battery] level=49.00%;\n"
      "22:20:00 [Thermal] level=1;\n"
      "22:20:01 [ProcessMonitor] a(1)=40; b(2)=90; short(3)=5;\n"
      "22:20:01 [Work] a.service=130.0; b.service=95.0;\n"
      "22:30:00 [Battery] level=48.00%;\n"
      "22:30:00 [Work] a.service=131.0; b.service=95.0;\n"
      "22:40:00 [Battery] level=49.00%;\n"
      "22:50:00 [Battery] level=48.00%;\n"
      "22:51:00 [Thermal] level=0;\n");
  EXPECT_EQ(printed(), (Lines{"22:00:00  The battery is at 50.0 %.",
                              "22:20:00  The battery is at 49.0 %, -1.0 % in 20 min; busiest: a, "
                              "2 min of CPU time.",
                              "22:30:00  The battery is at 48.0 %, -1.0 % in 10 min.",
                              "22:40:00  The battery is at 49.0 %, +1.0 % in 10 min.",
                              "22:50:00  The battery is at 48.0 %, -1.0 % in 10 min.",
                              "22:51:00  Thermal level 1 for at least 31 min."}));
}

TEST_F(LogNewsTest, RefusedSleepsNameTheHoldersOfThatMoment) {
  add("22:00:00 [Sleep] event=will_not_sleep;\n"
      "22:00:00 [Assertion] state=created; process=a; pid=1; name=Update; held_for=00:00:00;\n"
      "22:01:00 [Assertion] state=created; process=b; pid=2; name=Play; held_for=00:00:00;\n"
      "22:02:00 [Sleep] event=will_not_sleep;\n"
      "22:02:10 [Sleep] event=will_not_sleep;\n"
      "22:02:20 [Sleep] event=will_not_sleep;\n"
      "22:02:30 [Assertion] state=released; process=a; pid=1; name=Update; held_for=00:02:30;\n"
      "22:03:00 [Sleep] event=will_sleep;\n"
      "22:03:00 [Sleep] event=will_not_sleep;\n"
      "22:03:00 [Suspend] asleep=00:00:00; result=failed; failed_step=suspend; "
      "failed_device=usb1;\n");
  EXPECT_EQ(
      printed(),
      (Lines{"22:00:00  Sleep refused; the log names no holder.",
             "22:02:00  Sleep refused, held by a: Update (2 min), b: Play (1 min).",
             "22:02:10  Sleep refused 2 times since 22:02, held by a: Update (2 min 10 s), b: Play "
             "(1 min 10 s).",
             "22:02:30  a kept the device awake for 2 min 30 s: Update.",
             "22:03:00  Goes to sleep.", "22:03:00  Sleep refused, held by b: Play (2 min).",
             "22:03:00  The sleep failed because of usb1, in the step suspend."}));
}

}  // namespace
}  // namespace zorva

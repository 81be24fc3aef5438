// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogHistory.h"

#include <gtest/gtest.h>

#include "report/analyse/HistoryText_test.h"
#include "report/read/LogReader.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

constexpr LogTime kMidnight = 1794787200;  // 11/16/26

// The history of lines "HH:mm:ss [Category] ...", which get the date 11/16/26. Other lines are
// taken unchanged.
HistoryText reported(std::string_view log) {
  std::string dated;
  for (std::size_t at = 0; at < log.size();) {
    const std::size_t end = log.find('\n', at) + 1;
    if (log[at + 2] == ':') dated += "11/16/26 ";
    dated += log.substr(at, end - at);
    at = end;
  }
  HistoryText sink(kMidnight);
  LogHistory history(sink);
  LogReader reader;
  LogRecord record;
  reader.begin(readFrom(dated));
  while (reader.next(record)) history.add(record);
  history.finish();
  return sink;
}

TEST(LogHistory, ASleepEndsAtItsWakeNotAtEntriesInBetween) {
  EXPECT_EQ(reported("00:01:00 [Sleep] event=can_sleep;\n"
                     "00:01:00 [Sleep] event=will_sleep;\n"
                     "00:01:01 [Thermal] level=0;\n"
                     "00:29:58 [Syslog] kernel[0]: a time of its own\n"
                     "00:29:59 [Thermal] level=0;\n"
                     "00:30:00 [Zorva] Could not get wake reason (errno: 2)\n"
                     "00:30:00 [Wake] reason=radios; info=x;\n"
                     "00:30:00 [PacketDecoder] version=IPv4; protocol=ICMP; source=192.0.2.1;\n"
                     "00:30:01 [PacketTracker] error=Unable to find process with local port 5;\n"
                     "00:30:30 [PacketTracker] process=late; pid=9;\n")
                .lines,
            (Lines{"error 1800 Zorva Could not get wake reason (errno: 2)", "asleep 60-1800",
                   "wake 1800 slept 1740 radios [ICMP 192.0.2.1] [ 0]"}));
  // The wake was not logged: the device was awake by then at the latest.
  EXPECT_EQ(reported("00:01:00 [Sleep] event=will_sleep;\n"
                     "00:30:00 [Thermal] level=0;\n"
                     "00:50:00 [Thermal] level=0;\n"
                     "00:55:00 [Wake] reason=rtc; info=<none>;\n"
                     "01:00:00 [Sleep] event=will_sleep;\n"
                     "02:00:00 [Sleep] event=will_sleep;\n"
                     "02:30:00 [Sleep] event=will_not_sleep;\n")
                .lines,
            (Lines{"asleep 60-?1800", "wake 3300 slept -1 rtc [] [ 0]", "asleep 3600-?7200",
                   "asleep 7200-9000", "moment 9000 Sleep event=will_not_sleep;"}));
}

TEST(LogHistory, AssertionsAreKnownByProcessNameAndBeginning) {
  EXPECT_EQ(
      reported(
          "00:10:00 [Assertion] state=held; process=a; pid=1; name=Old; held_for=01:00:00;\n"
          "00:20:00 [Assertion] state=held; process=b; pid=2; name=Play; held_for=00:05:00;\n"
          "00:20:00 [Assertion] state=held; process=b; pid=2; name=Play; held_for=00:02:00;\n"
          "00:25:00 [Assertion] state=created; process=<unknown>; pid=3; name=Twin; "
          "held_for=00:00:00;\n"
          "00:25:00 [Assertion] state=created; process=c; pid=3; name=Twin; held_for=00:00:00;\n"
          "00:30:00 [Assertion] state=released; process=b; pid=2; name=Play; held_for=00:12:00;\n"
          "00:31:00 [Assertion] state=released; process=c; pid=3; name=Twin; held_for=00:06:00;\n"
          "00:40:00 [Assertion] state=released; process=d; pid=4; name=Missed; "
          "held_for=00:01:00;\n")
          .lines,
      (Lines{"assertion 1080-1800 b Play", "assertion 1500-1860 c Twin",
             "assertion 2340-2400 d Missed", "assertion ?600-?2400 a Old",
             "assertion 900-?2400 b Play"}));
}

TEST(LogHistory, ANewFileContinuesTheStatesThatItsSnapshotConfirms) {
  constexpr std::string_view kBefore =
      "00:00:00 [Display] brightness=1; min=0; max=9; active=yes;\n"
      "00:00:00 [WiFi] status=on; ap=Home;\n"
      "00:00:00 [Bluetooth] state=on; connected=no;\n"
      "00:00:00 [ProcessMonitor] a(1)=10; b (x) (2)=5; c;d=e(3)=4;\n"
      "00:10:00 [Application] id=game; pid=7; mode=foreground; reason=<unknown>;\n"
      "00:20:00 [Battery] level=nan%; voltage=-1 mV; current=<unknown> mA; charging_state=Full; "
      "battery_temp=0.00 C;\n";
  const HistoryText on = reported(std::string(kBefore) +
                                  "Zorva Version: 5\n"
                                  "00:40:00 [Config] version=5;\n"
                                  "00:40:00 [ProcessMonitor] a(1)=12; c;d=e(3)=3; new(9)=2;\n"
                                  "00:40:01 [Display] brightness=0; min=0; max=9; active=no;\n"
                                  "00:40:02 [Battery] level=50.00%; charging_state=Full;\n"
                                  "01:00:00 [Thermal] level=0;\n");
  EXPECT_EQ(on.lines, (Lines{"display ?0-?1200 1/9", "wifi ?0-?1200 Home",
                             "application 600-?1200 game foreground", "bluetooth ?0-?3600",
                             "charging ?1200-?3600 Full"}));
  EXPECT_EQ(on.samples, (Lines{"cpu 0-2400 a/1:2 c;d=e/3:3 new/9:2", "level 2402 50"}));

  // After a silence in which the daemon cannot have run, no state is known to have continued.
  const HistoryText off = reported(std::string(kBefore) +
                                   "02:00:00 [Config] version=5;\n"
                                   "02:00:00 [ProcessMonitor] a(1)=12;\n"
                                   "02:00:00 [Battery] level=50.00%; charging_state=Full;\n");
  EXPECT_EQ(off.lines, (Lines{"display ?0-?1200 1/9", "wifi ?0-?1200 Home", "bluetooth ?0-?1200",
                              "application 600-?1200 game foreground", "charging ?1200-?1200 Full",
                              "interruption 1200 7200", "charging ?7200-?7200 Full"}));
  EXPECT_EQ(off.samples, (Lines{"level 7200 50"}));
}

TEST(LogHistory, StatesContinueInTheNewTimeIfTheClockIsSetBack) {
  const HistoryText text = reported(
      "02:00:00 [Network] TotalSinceLastCheck=9.0K/9.0K; TimeSinceLastCheck=0s; en0=1b/1b;\n"
      "02:00:00 [ProcessMonitor] a(1)=1;\n"
      "02:10:00 [Assertion] state=created; process=a; pid=1; name=A; held_for=00:00:00;\n"
      "02:20:00 [Sleep] event=will_sleep;\n"
      "01:30:00 [Wake] reason=rtc; info=<none>;\n"
      "01:40:00 [ProcessMonitor] a(1)=4;\n"
      "01:40:00 [Network] TotalSinceLastCheck=-2.0K/1.5K; TimeSinceLastCheck=600s; en0=1b/1b;\n"
      "01:50:00 [Assertion] state=released; process=a; pid=1; name=A; held_for=00:50:00;\n"
      "01:49:59 [Thermal] level=1;\n");
  EXPECT_EQ(text.lines,
            (Lines{"assertion 7800-?8400 a A", "asleep 8400-?8400", "interruption 8400 5400",
                   "asleep ?5400-5400", "wake 5400 slept 0 rtc [] [ 0]", "assertion ?5400-6600 a A",
                   "thermal ?6600-?6600 1"}));
  EXPECT_EQ(text.samples, (Lines{"cpu 4200-6000 a/1:3", "sent 6000 1536"}));
}

}  // namespace
}  // namespace zorva

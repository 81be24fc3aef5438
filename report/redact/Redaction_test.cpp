// SPDX-License-Identifier: Apache-2.0
#include "report/redact/Redaction.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace zorva {
namespace {

std::string redacted(std::string_view text, Redaction::Keep keep = Redaction::Keep::Nothing) {
  LogReader reader;
  reader.begin(readFrom(text));
  Redaction redaction(keep);
  LogRecord record;
  std::string to;
  while (reader.next(record)) redaction.append(record, to);
  redaction.finish(to);
  return to;
}

// tests/redact_test.py runs the program on the scenarios' logs, which are well formed.
TEST(RedactionTest, WhatIsNotUnderstoodIsContent) {
  const std::string at = "11/17/26 06:28:00 ";
  const std::string glued = "[Assertion] state=held; pro" + at + "[WiFi] status=on; ap=Secret;";
  struct Case {
    std::string line;
    std::string expected;
  };
  const Case cases[] = {
      {"Secret", "damaged-1"},
      {at + "[WiFi] status=on; ap=Secr", "damaged-1"},
      {at + glued, "damaged-1"},
      {at + "[Secret=1] x", "damaged-1"},
      {at + "[Zorva]{\n    a = Secret;", "damaged-1\ndamaged-1"},
      {at + "[Zorva]{\n    a = Secret;\n    b = 1;\n}\r",
       at + "[Zorva]{\n    content-1;\n    content-1;\n}\r"},
      {at + "[Zorva] Secret", at + "[Zorva] content-1"},
      {at + "[Zorva] Could not get wake reason (errno: Secret)", at + "[Zorva] content-1"},
      {at + "[Zorva] Could not get wake reason (errno: 2) Secret", at + "[Zorva] content-1"},
      {at + "[Later] secret=Secret;\r", at + "[Later] content-1\r"},
      {at + "[Syslog] a[b]: c[7]: Secret", at + "[Syslog] process-1[content-1]: content-2"},
      {at + "[Syslog] Secret[", at + "[Syslog] content-1"},
      // Unknown keys, and malformed figures and words.
      {at + "[WiFi] status=Secret; ap=<disassociated>; wow=on; secret=Secret;",
       at + "[WiFi] status=content-1; ap=<disassociated>; wow=on; content-2;"},
      {at + "[Battery] level=62.50%; voltage=Secret mV; current=1 Secret; usage=1:2:Secret;",
       at + "[Battery] level=62.50%; voltage=content-1 mV; current=content-2; usage=content-3;"},
      {at + "[Display] brightness=1; Secret; min=0;",
       at + "[Display] brightness=1; content-1; min=0;"},
      // A name that resembles further fields.
      {at + "[WiFi] status=on; ap=Secret; wow=on; ap=Secret; wow=off;",
       at + "[WiFi] status=on; ap=ap-1; wow=off;"},
      {at + "[Accessory] connected=yes; name=a; firmware=Secret; serial=1; firmware=2;",
       at + "[Accessory] connected=yes; name=accessory-1; firmware=2;"},
      {at + "[ProcessMonitor] a=Secret(7)=5; Secret; b(8)=6; c(9)=Secret;",
       at + "[ProcessMonitor] process-1(7)=5; content-1; process-2(8)=6; process-3(9)=content-1;"},
      // Keys from the device.
      {at +
           "[Network] TotalSinceLastCheck=1.0K/2.0K; TimeSinceLastCheck=5s; wlx001122334455=1b/2b;",
       at + "[Network] TotalSinceLastCheck=1.0K/2.0K; TimeSinceLastCheck=5s; interface-1=1b/2b;"},
      {at + "[Syncward] type=Secret; time_span=1.00; other=Secret; Secret Key=1;",
       at + "[Syncward] type=type-1; time_span=1.00; other=content-1; name-1=content-2;"},
      {at + "[PacketTracker] process=pushd; path=/Secret/pushd; pid=7; local=127.0.0.1:80; "
            "remote=[fe80::1]:443;",
       at + "[PacketTracker] process=process-1; path=path-1/process-1; pid=7; local=127.0.0.1:80; "
            "remote=ip-1:443;"},
      {at + "[PacketDecoder] version=IPv4; source=0.0.0.0; destination=Secret:x;",
       at + "[PacketDecoder] version=IPv4; source=0.0.0.0; destination=ip-1;"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(redacted(each.line), each.expected);
    EXPECT_EQ(redacted(each.line + "\n\n"), each.expected + "\n\n");
  }
  EXPECT_EQ(
      redacted("Zorva Version: 5\n" + std::string(LogReader::kMaxPieceLength + 1, 'x') + "\nx"),
      "Zorva Version: 5\ndamaged-1\ndamaged-2");
}

TEST(RedactionTest, TimesAreLocalAndDoNotShowTheZone) {
  const std::string at = "11/17/26 06:28:00 ", version = "Zorva Version: 5\n";
  const auto schedule = [&](const std::string& time) {
    return at + "[Schedule] event=Scheduled Wake; id=(null); time=" + time + ";\n";
  };
  const auto locale = [&](const std::string& zone) {
    return at + "[Locale] id=(null); country=(null); time_zone=" + zone + "; dst=no;\n";
  };
  const std::string first = "2026-12-31 23:30:00 +0000", second = "2026-11-17 00:00:00 -0100";
  // The first entries are before the zone is known; another file may be of another zone.
  EXPECT_EQ(redacted(schedule(first) + "\n" + locale("CET") + schedule(second) + version +
                     schedule(first) + locale("+0545") + locale("CST") + schedule(second) +
                     schedule("soon") + schedule("(null)")),
            schedule("2027-01-01 00:30:00") + "\n" + locale("time_zone-1") +
                schedule("2026-11-17 02:00:00") + version + schedule("2027-01-01 05:15:00") +
                locale("time_zone-2") + locale("time_zone-3") + schedule("time-1") +
                schedule("content-1") + schedule("(null)"));
  EXPECT_EQ(redacted(schedule(first)), schedule("time-1"));
  const std::string much = at + "[Sleep] event=will_sleep;\n" + std::string(1 << 20, '\n');
  EXPECT_EQ(redacted(schedule(first) + much + locale("-03") + schedule(second)),
            schedule("time-1") + much + locale("time_zone-1") + schedule("2026-11-16 22:00:00"));
}

TEST(RedactionTest, ProgramsMayStayButNotWhatTheirNamesHold) {
  const std::string at = "11/17/26 06:28:00 ";
  const std::pair<std::string, std::string> cases[] = {
      {"[Assertion] state=held; process=Web Content; pid=7; name=Secret;",
       "[Assertion] state=held; process=Web Content; pid=7; name=assertion-1;"},
      {"[Assertion] state=held; process=a; b=Secret; pid=7;",
       "[Assertion] state=held; process=process-1; pid=7;"},
      {"[ProcessMonitor] kworker/0:1(7)=5; /Secret/a(8)=6; John Secret=1;",
       "[ProcessMonitor] kworker/0:1(7)=5; process-1(8)=6; process-2=1;"},
      {"[Work] app-chrome@2100=1.0; -.slice=2.0; wg-quick@Secret.service=1.0; "
       "user@1000.service=1.0;",
       "[Work] app-chrome@2100=1.0; -.slice=2.0; wg-quick@instance-1.service=1.0; "
       "user@1000.service=1.0;"},
      {"[Work] home-Secret.mount=1.0; app-a.b@autostart(1000)=1.0; "
       "snap.fox.fox-0a1b2c3d-0000-1111-2222-abcdefabcdef.scope=1.0; docker-00112233445566aa.scope="
       "1.0; decade-facade.service=1.0;",
       "[Work] unit-1=1.0; app-a.b@autostart(1000)=1.0; snap.fox.fox-id-1.scope=1.0; "
       "docker-id-2.scope=1.0; decade-facade.service=1.0;"},
      {"[Syslog] sshd[7]: Secret", "[Syslog] sshd[7]: content-1"},
      {"[Syslog] John Secret[7]: Secret", "[Syslog] process-1[7]: content-1"},
      {"[PacketTracker] process=pushd; path=/Secret/pushd; pid=7;",
       "[PacketTracker] process=pushd; path=path-1/pushd; pid=7;"},
      {"[Wakeup Sources] Secret=1;", "[Wakeup Sources] source-1=1;"},
      {"[Syncward] type=(null); name=Secret;", "[Syncward] type=(null); name=account-1;"},
  };
  for (const auto& [line, expected] : cases) {
    EXPECT_EQ(redacted(at + line, Redaction::Keep::Programs), at + expected);
  }
}

}  // namespace
}  // namespace zorva

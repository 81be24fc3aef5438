// SPDX-License-Identifier: Apache-2.0
#include "report/redact/Redaction.h"

#include <gtest/gtest.h>
#include <string>

namespace zorva {
namespace {

std::string redacted(std::string_view text) {
  LogReader reader;
  reader.begin(readFrom(text));
  Redaction redaction;
  LogRecord record;
  std::string to;
  while (reader.next(record)) redaction.append(record, to);
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

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/read/LogReader.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

namespace zorva {
namespace {

constexpr WordFormat kSwitch[] = {{"on", ""}, {"off", ""}};
constexpr WordFormat kNoNetwork[] = {{"<disassociated>", ""}};
constexpr FieldFormat kWiFi[] = {
    {"status", FieldType::Word, "", "", "", Privacy::Harmless, kSwitch},
    {"ap", FieldType::Text, "", "", "", Privacy::Name, kNoNetwork},
    {"wow", FieldType::Word, "", "", "", Privacy::Harmless, kSwitch},
    {"pm_dur", FieldType::Integer, "", "", ""}};
constexpr FieldFormat kBattery[] = {{"level", FieldType::Real, "%", "", ""},
                                    {"voltage", FieldType::Integer, " mV", "", ""},
                                    {"usage", FieldType::Duration, "", "", ""}};
constexpr FieldFormat kProcesses[] = {{"*", FieldType::Integer, "", "", "", Privacy::Name}};
constexpr EntryFormat kFormat[] = {{"Battery", EntryShape::Fields, "", "", "", kBattery},
                                   {"ProcessMonitor", EntryShape::Fields, "", "", "", kProcesses},
                                   {"WiFi", EntryShape::Fields, "", "", "", kWiFi},
                                   {"Syslog", EntryShape::Text, "", "", ""},
                                   {"Zorva", EntryShape::Text, "", "", ""}};

// Describes each piece by its kind and number of lines, and entries by category, fields, and how
// far the time goes back. Checks that the concatenated pieces and fields are the text to the byte.
std::string reported(std::string_view text, std::size_t most = LogReader::kMaxPieceLength) {
  LogReader reader(kFormat);
  reader.begin(readFrom(text, most));
  std::string reported;
  std::string raw;
  LogRecord record;
  std::vector<LogField> fields;
  while (reader.next(record)) {
    raw += record.raw;
    reported += std::to_string(record.line);
    if (record.lines != 1) reported += "+" + std::to_string(record.lines);
    switch (record.piece) {
      case LogPiece::Version:
        reported += " version\n";
        continue;
      case LogPiece::Separator:
        reported += " --\n";
        continue;
      case LogPiece::Damaged:
        reported += " damaged\n";
        continue;
      case LogPiece::Entry:
        break;
    }
    reported += " " + std::string(record.category);
    if (record.backwards != 0) reported += " -" + std::to_string(record.backwards);
    splitFields(record, fields);
    std::string body;
    for (const LogField& field : fields) {
      body += field.raw;
      reported += field.format != nullptr ? " " : " ?";
      reported +=
          std::string(field.key) + "|" + std::string(field.value) + "|" + std::string(field.unit);
      if (field.format != nullptr && !field.isWellFormed()) reported += "|bad";
    }
    EXPECT_EQ(body, record.body);
    reported += "\n";
  }
  EXPECT_EQ(raw, text);
  EXPECT_EQ(reader.counts().bytes, text.size());
  return reported;
}

const char* const kLog =
    "Zorva Version: 5\n"
    "11/17/26 06:28:00 [Battery] level=62.50%; voltage=3830 mV; usage=102:41:00;\n"
    "11/17/26 06:28:00 [Battery] level=nan%; voltage=<unknown>;\n"
    "\n"
    "11/16/26 23:10:00 [Syslog] powerd[31]: a=b; [x]\n"
    "11/17/26 06:28:00 [Zorva]{\n"
    "    alert =     {\n"
    "        a = 1;\n"
    "    };\n"
    "}\n"
    "11/17/26 05:28:01 [WiFi] status=on; ap=My; wow=off; x=1; wow=on; pm_dur=7;\n"
    "11/17/26 05:28:01 [WiFi] status=maybe; ap=<disassociated>; new=1; pm_dur=x;\n"
    "11/17/26 05:28:02 [ProcessMonitor] init(1)=22; a=b; c(7)=5;\n"
    "11/17/26 05:28:02 [Later] one=1; two=2;\n"
    "11/17/26 05:28:02 [Later] just text\n"
    "11/17/26 05:28:03 [WiFi]\n"
    "11/17/26 05:28:04 [Battery] level=62.5011/17/26 05:28:05 [Battery] level=62.50%;\n"
    "11/17/26 05:28:04 [Battery] level=62.\n"
    "11/17/26 05:28:04 [Zorva]{\n"
    "    a = 1;\n"
    "11/17/26 05:28:06 [Battery] level=6%;\n"
    "17/11/26 05:28:06 [Battery] level=6%;\n"
    "\xd9\xa1\xd9\xa1/\xd9\xa1\xd9\xa7/\xd9\xa2\xd9\xa6 \xd9\xa0\xd9\xa5:\xd9\xa2\xd9\xa8:"
    "\xd9\xa0\xd9\xa7 [Battery] level=5%;\r\n"
    "11/17/26 05:28:08 [Batt";

const char* const kReported =
    "1 version\n"
    "2 Battery level|62.50|% voltage|3830| mV usage|102:41:00|\n"
    "3 Battery level|nan|% voltage|<unknown>|\n"
    "4 --\n"
    "5 Syslog ?|powerd[31]: a=b; [x]|\n"
    "6+5 Zorva ?|{\n    alert =     {\n        a = 1;\n    };\n}|\n"
    "11 WiFi -3599 status|on| ap|My; wow=off; x=1| wow|on| pm_dur|7|\n"
    "12 WiFi status|maybe||bad ap|<disassociated>; new=1| pm_dur|x||bad\n"
    "13 ProcessMonitor init(1)|22| a|b||bad c(7)|5|\n"
    "14 Later ?one|1| ?two|2|\n"
    "15 Later ?|just text|\n"
    "16 WiFi\n"
    "17 damaged\n"
    "18 damaged\n"
    "19+2 damaged\n"
    "21 Battery level|6|%\n"
    "22 damaged\n"
    "23 Battery level|5|%\n"
    "24 damaged\n";

TEST(LogReaderTest, FindsTheSamePiecesForAnyReadSize) {
  EXPECT_EQ(reported(kLog), kReported);
  EXPECT_EQ(reported(kLog, 1), kReported);
}

TEST(LogReaderTest, ReportsAFailedReadAndContinuesWithTheNextFile) {
  LogReader reader(kFormat);
  LogRecord record;
  reader.begin([](char*, std::size_t) {
    errno = EIO;
    return std::ptrdiff_t{-1};
  });
  EXPECT_FALSE(reader.next(record));
  EXPECT_EQ(reader.error(), EIO);
  reader.begin(readFrom("11/17/26 05:28:01 [WiFi]\n"));
  EXPECT_TRUE(reader.next(record));
  reader.begin(readFrom("11/17/26 05:28:00 [WiFi]"));
  EXPECT_TRUE(reader.next(record));
  EXPECT_EQ(record.backwards, 1);
  EXPECT_FALSE(reader.next(record));
  EXPECT_EQ(reader.error(), 0);
}

TEST(LogReaderTest, ValuesHaveTypes) {
  constexpr FieldFormat kHex{"id", FieldType::Hex, "", "", ""};
  const auto field = [](std::string_view value, const FieldFormat& format) {
    LogField made;
    made.value = value;
    made.format = &format;
    return made;
  };
  EXPECT_EQ(field("1f", kHex).integer(), 31);
  EXPECT_EQ(field("1g", kHex).integer(), std::nullopt);
  EXPECT_EQ(field("-12", kWiFi[3]).integer(), -12);
  EXPECT_EQ(field("12x", kWiFi[3]).integer(), std::nullopt);
  EXPECT_EQ(field("62.5", kBattery[0]).real(), 62.5);
  EXPECT_EQ(field("100:01:02", kBattery[2]).seconds(), 360062);
  for (const char* bad : {"1:2", "1:2:", "", "a:b:c", "1:2:3:4", "99999999999999999:0:0"}) {
    EXPECT_EQ(field(bad, kBattery[2]).seconds(), std::nullopt) << bad;
  }
}

TEST(LogReaderTest, TheLocaleDecidesHowItsLogIsDated) {
  LogReader reader;
  LogRecord record;
  std::vector<LogTime> times;
  // Its entry follows those of the snapshot; then the locale changes.
  reader.begin(
      readFrom("01/02/00 00:00:00 [Battery] level=5%;\n"
               "01/02/00 00:00:00 [Locale] id=en_US; country=US; time_zone=UTC; dst=no;\n"
               "09/04/05 00:00:00 [Locale] id=fi_IR; country=IR; time_zone=UTC; dst=no;\n"
               "09/04/05 00:00:00 [Battery] level=4%;\n"));
  while (reader.next(record)) times.push_back(record.time / 86400);
  EXPECT_EQ(times, (std::vector<LogTime>{10958, 10958, 20782, 20782}));
}

}  // namespace
}  // namespace zorva

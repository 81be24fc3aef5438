// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVSyslogLogger.h"

#include "core/BatteryNotifications.h"
#include "platform/base/Text.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

const char* const kExceeded = "[Zorva] Syslog query exceeded maximum number of results";

class ZVSyslogLoggerTest : public LoggerTest {
 protected:
  void append(int first, int last) {
    for (int i = first; i <= last; ++i) facility.append({"mediad", "45", std::to_string(i)});
  }
  void start() {
    logger = ZVSyslogLogger::logger(services(), facility);
    attach(*logger);
  }
  // The lines of one fetch that copies the messages of these numbers.
  static Lines copied(int first, int last, const Lines& then = {}) {
    Lines lines{"", ""};
    for (int i = first; i <= last; ++i) {
      lines.push_back(formatText("11/16/26 14:00:00 [Syslog] mediad[45]: %d", i));
    }
    for (const std::string& line : then) lines.push_back("11/16/26 14:00:00 " + line);
    lines.insert(lines.end(), {"", ""});
    return lines;
  }
  // Separators are not flushed by themselves.
  Lines fetched() {
    logger->log();
    log.stream().flush();
    return log.takeLines();
  }

  SimSystemLogQueries& facility = handset.systemLogQueries();
  std::unique_ptr<ZVSyslogLogger> logger;
};

TEST_F(ZVSyslogLoggerTest, RepeatsTheLastTenAndThenCopiesWhatIsNew) {
  const struct {
    int atFirst;
    std::uint32_t last;
    Lines repeated;
  } cases[] = {{0, 0, {}},
               {5, 5, {}},
               {11, 1, copied(2, 11)},
               {100, 90, copied(91, 100)},
               {257, 247, copied(248, 257)},
               {300, 247, copied(248, 300)}};
  int there = 0;
  for (const auto& [atFirst, last, repeated] : cases) {
    append(there + 1, atFirst);
    there = atFirst;
    start();
    EXPECT_EQ(logger->lastMessageID(), last);
    EXPECT_EQ(fetched(), repeated) << atFirst;
    EXPECT_EQ(fetched(), Lines()) << atFirst;
  }
  append(301, 301);
  for (const bool enabled : {false, true}) {
    logger->setEnabled(enabled);
    notifications.post(kBatteryStatusDidChange);
    log.stream().flush();
    EXPECT_EQ(log.takeLines(), enabled ? copied(301, 301) : Lines());
  }
}

TEST_F(ZVSyslogLoggerTest, EndsAFetchAtItsLimit) {
  start();
  append(1, 257);
  EXPECT_EQ(fetched(), copied(1, 257, {kExceeded}));
  append(258, 557);
  EXPECT_EQ(fetched(), copied(258, 514, {kExceeded}));
  EXPECT_EQ(fetched(), copied(515, 557));
}

TEST_F(ZVSyslogLoggerTest, WritesAnyBytesOnOneLine) {
  start();
  const std::string x1023(1023, 'x');
  const std::string euro = "\u20ac";
  const struct {
    SimSystemLogQueries::Message message;
    std::string body;
  } cases[] = {
      {{"a\nb", "7\x1b", "%s%n\r\n\xff" + euro}, " a\\x0ab[7\\x1b]: %s%n\\x0d\\x0a\uFFFD" + euro},
      {{"d", "1", x1023 + "yz" + x1023}, " d[1]: " + x1023 + "y"},
      // The character over the limit goes as a whole, and an escape is written out.
      {{"d", "1", x1023 + euro}, " d[1]: " + x1023},
      {{"d", "1", x1023.substr(2) + euro + "z"}, " d[1]: " + x1023.substr(2) + euro},
      {{"d", "1", x1023.substr(2) + "\U0001F600"}, " d[1]: " + x1023.substr(2)},
      {{"d", "1", x1023 + "\n\n"}, " d[1]: " + x1023 + "\\x0a"},
      // What was broken already stays to be seen.
      {{"d", "1", x1023 + "\xe2\x82"}, " d[1]: " + x1023 + "\uFFFD"},
      {{"d", "1", x1023 + "\xe2"}, " d[1]: " + x1023 + "\uFFFD"},
  };
  for (const auto& [message, body] : cases) {
    facility.append(message);
    EXPECT_EQ(fetched(), Lines({"", "", "11/16/26 14:00:00 [Syslog]" + body, "", ""}));
  }
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "core/ZVLogger.h"

#include <limits>

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVLoggerTest : public LoggerTest {};

TEST_F(ZVLoggerTest, WritesWholeLinesOnlyWhileEnabledAndAttached) {
  ZVLogger logger(services());
  logger.setLogFile(&log.stream());
  logger.logEntryWithBody("Battery", " level=75;");
  logger.logSeparator();
  EXPECT_EQ(log.takeLines(), Lines{});

  logger.setEnabled(true);
  logger.logSeparator();
  logger.logEntryWithBody("Battery", " level=75;");
  logger.logEntryWithBody("Odd", " 100% %s\n%n");  // never a format
  EXPECT_EQ(log.takeLines(), (Lines{"", "", "11/16/26 14:00:00 [Battery] level=75;",
                                    "11/16/26 14:00:00 [Odd] 100% %s", "%n"}));

  logger.setLogFile(nullptr);
  logger.logEntryWithBody("Battery", " level=75;");
  logger.logSeparator();
  EXPECT_EQ(takeSystemLog(), Lines{"No file available to add Battery log entry"});
}

TEST_F(ZVLoggerTest, SystemNotificationsAreHeardWhileRegisteredAndEnabled) {
  class Counting : public ZVLogger {
   public:
    using ZVLogger::ZVLogger;
    void log() override { logEntryWithBody("Test", " n=1;"); }
  };
  Counting logger(services());
  handset.faults().fail("notifications.observe");
  EXPECT_FALSE(logger.registerCallbackForOstrelNotification(ZVLoggerLogCallback, "outside"));
  EXPECT_TRUE(logger.registerCallbackForOstrelNotification(ZVLoggerLogCallback, "outside"));
  logger.setLogFile(&log.stream());
  for (const bool enabled : {false, true}) {
    logger.setEnabled(enabled);
    handset.notifications().post("outside");
    EXPECT_EQ(log.takeLines().size(), enabled ? 1U : 0U);
  }
  logger.deregisterForAllOstrelNotifications();
  handset.notifications().post("outside");
}

TEST(FormatTimeInSeconds, TruncatesMinutesAndRoundsSeconds) {
  const struct {
    double seconds;
    const char* text;
  } cases[] = {
      {3599.4, "00:59:59"},
      {59.6, "00:00:00"},
      {360000, "100:00:00"},
      {-61, "00:-1:-1"},
      {std::numeric_limits<double>::quiet_NaN(), "00:00:00"},
      {1e300, "35791394:07:07"},
  };
  for (const auto& [seconds, text] : cases) {
    EXPECT_EQ(ZVLogger::formatTimeInSeconds(seconds), text) << seconds;
  }
}

}  // namespace
}  // namespace zorva

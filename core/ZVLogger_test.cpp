#include "core/ZVLogger.h"

#include <limits>

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVLoggerTest : public LoggerTest {
 protected:
  // Writes one entry per snapshot.
  class Counting : public ZVLogger {
   public:
    using ZVLogger::logOnNotification;
    using ZVLogger::ZVLogger;
    void log() override { logEntryWithBody("Test", " n=1;"); }
  };
};

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

TEST_F(ZVLoggerTest, StampsWithTheYearOfTheWeekInTheCurrentZone) {
  using namespace std::chrono;
  ZVLogger logger(services());
  attach(logger);
  const Date newYearsEve = sys_days(year(2026) / 12 / 31) + hours(23);
  logger.logEntryWithBodyForDate("Test", " a;", newYearsEve);
  handset.locale().setIdentifier("de_DE");
  logger.logEntryWithBodyForDate("Test", " b;", newYearsEve);
  handset.locale().setTimeZone("Asia/Tokyo");
  logger.logEntryWithBodyForDate("Test", " c;", newYearsEve);
  EXPECT_EQ(log.takeLines(), (Lines{"12/31/27 23:00:00 [Test] a;", "12/31/26 23:00:00 [Test] b;",
                                    "01/01/26 08:00:00 [Test] c;"}));
}

TEST_F(ZVLoggerTest, ErrorsReachSystemLogAlwaysAndLogWhileEnabled) {
  ZVLogger logger(services());
  logger.logError("Could not attach session. (error: %d)", 5);
  EXPECT_EQ(takeSystemLog(), Lines{"Error: Could not attach session. (error: 5)"});
  attach(logger);
  logger.logError("%s\n", "ends in a newline");
  EXPECT_EQ(takeSystemLog(), Lines{"Error: ends in a newline\n"});
  EXPECT_EQ(log.takeLines(), (Lines{"11/16/26 14:00:00 [Zorva] ends in a newline", ""}));
}

TEST_F(ZVLoggerTest, NotificationsAskForASnapshotUntilDeregisteredOrDestroyed) {
  auto logger = std::make_unique<Counting>(services());
  logger->logOnNotification("inside");
  EXPECT_TRUE(logger->registerCallbackForOstrelNotification(ZVLoggerLogCallback, "outside"));
  notifications.post("inside");
  handset.notifications().post("outside");
  EXPECT_EQ(log.takeLines(), Lines{});  // not enabled yet

  attach(*logger);
  notifications.post("inside");
  handset.notifications().post("outside");
  EXPECT_EQ(log.takeEntries(), (Lines{"[Test] n=1;", "[Test] n=1;"}));

  logger->deregisterForAllOstrelNotifications();
  handset.notifications().post("outside");
  logger.reset();
  notifications.post("inside");
  EXPECT_EQ(log.takeLines(), Lines{});

  handset.faults().fail("notifications.subscribe");
  Counting deaf(services());
  EXPECT_FALSE(deaf.registerCallbackForOstrelNotification(ZVLoggerLogCallback, "outside"));
}

TEST(FormatTimeInSeconds, TruncatesMinutesAndRoundsSeconds) {
  const struct {
    double seconds;
    const char* text;
  } cases[] = {
      {0, "00:00:00"},
      {3599.4, "00:59:59"},
      {90061, "25:01:01"},
      {59.6, "00:00:00"},
      {119.5, "00:01:00"},
      {360000, "100:00:00"},
      {-61, "00:-1:-1"},
      {3725, "01:02:05"},
      {std::numeric_limits<double>::quiet_NaN(), "00:00:00"},
      {1e300, "35791394:07:07"},
  };
  for (const auto& [seconds, text] : cases) {
    EXPECT_EQ(ZVLogger::formatTimeInSeconds(seconds), text) << seconds;
  }
}

}  // namespace
}  // namespace zorva

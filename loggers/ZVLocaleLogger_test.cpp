#include "loggers/ZVLocaleLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVLocaleLoggerTest : public LoggerTest {};

TEST_F(ZVLocaleLoggerTest, FollowsZoneLocaleAndClock) {
  using namespace std::chrono;
  SimLocaleInformation& locale = handset.locale();
  locale.setTimeZone("America/Los_Angeles");
  const auto logger = ZVLocaleLogger::logger(services(), locale);
  locale.setIdentifier("en_GB");  // not enabled yet
  locale.setIdentifier("en_US");
  attach(*logger);
  logger->log();
  locale.setClock(sys_days(year(2026) / 7 / 1) + 12h);
  locale.setTimeZone("UTC");
  locale.setIdentifier("eo");
  EXPECT_EQ(log.takeEntries(), (Lines{"[Locale] id=en_US; country=US; time_zone=PST; dst=no;",
                                      "[Locale] id=en_US; country=US; time_zone=PDT; dst=yes;",
                                      "[Locale] id=en_US; country=US; time_zone=UTC; dst=no;",
                                      "[Locale] id=eo; country=(null); time_zone=UTC; dst=no;"}));
}

TEST_F(ZVLocaleLoggerTest, AChangeThatCannotBeObservedShowsAtTheNextSnapshot) {
  handset.faults().fail("locale.observe", 3);
  const auto logger = ZVLocaleLogger::logger(services(), handset.locale());
  attach(*logger);
  handset.locale().setIdentifier("de_DE");
  EXPECT_EQ(log.takeEntries(), Lines{});
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{"[Locale] id=de_DE; country=DE; time_zone=UTC; dst=no;"});
}

}  // namespace
}  // namespace zorva

#include "loggers/ZVLocaleLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVLocaleLoggerTest : public LoggerTest {};

TEST_F(ZVLocaleLoggerTest, FollowsChangesOfWhatItCanObserve) {
  SimLocaleInformation& locale = handset.locale();
  handset.faults().fail("locale.observe");  // of the clock
  const auto logger = ZVLocaleLogger::logger(services(), locale);
  locale.setTimeZone("Asia/Tokyo");  // not enabled yet
  attach(*logger);
  locale.setTimeZone("America/Los_Angeles");
  locale.setClock(SimHandset::kStart - std::chrono::days(120));
  EXPECT_EQ(log.takeEntries(), Lines{"[Locale] id=en_US; country=US; time_zone=PST; dst=no;"});
  logger->log();
  locale.setIdentifier("eo");
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Locale] id=en_US; country=US; time_zone=PDT; dst=yes;",
                   "[Locale] id=eo; country=(null); time_zone=GMT-7; dst=yes;"}));
}

}  // namespace
}  // namespace zorva

#include "tests/support/LoggerTest.h"

#include <gtest/gtest-spi.h>

namespace zorva {
namespace {

class PlainLogger : public ZVLogger {
 public:
  using ZVLogger::ZVLogger;
  void log() override { logEntryWithBody("Plain", " level=1;"); }
};

TEST_F(LoggerTest, TakesWhatWasWrittenSinceTheLastTime) {
  PlainLogger logger(services());
  attach(logger);
  logger.log();
  EXPECT_EQ(log.takeLines(), Lines{"11/16/26 14:00:00 [Plain] level=1;"});
  logger.log();
  logger.log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Plain] level=1;", "[Plain] level=1;"}));
  logger.logError("no %s", "answer");
  EXPECT_EQ(log.takeEntries(), Lines{"[Zorva] no answer"});
  EXPECT_EQ(takeSystemLog(), Lines{"Error: no answer"});
}

TEST(LogCapture, LinesThatNobodyTookFailTheTest) {
  EXPECT_NONFATAL_FAILURE(
      {
        LogCapture capture;
        capture.stream().write("left over\n");
        capture.stream().flush();
      },
      "unexpected line in the log: left over");
  EXPECT_NONFATAL_FAILURE(
      {
        LogCapture capture;
        capture.stream().write("cut");
        capture.stream().flush();
        capture.takeLines();
      },
      "ends in the middle of a line: cut");
  EXPECT_NONFATAL_FAILURE(withoutDate("11/16/26 14:00:00 Plain"), "no log entry");
}

}  // namespace
}  // namespace zorva

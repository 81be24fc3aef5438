#include "tests/support/LogCapture.h"

#include <gtest/gtest-spi.h>

namespace zorva {
namespace {

TEST(LogCapture, LinesThatNobodyTookFailTheTest) {
  const auto leave = [](const char* text, bool take) {
    LogCapture capture;
    capture.stream().write(text);
    capture.stream().flush();
    if (take) capture.takeLines();
  };
  EXPECT_NONFATAL_FAILURE(leave("left over\n", false), "unexpected line in the log: left over");
  EXPECT_NONFATAL_FAILURE(leave("cut", true), "ends in the middle of a line: cut");
  EXPECT_NONFATAL_FAILURE(withoutDate("11/16/26 14:00:00 Plain"), "no log entry");
}

}  // namespace
}  // namespace zorva

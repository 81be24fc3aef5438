// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVWorkLogger.h"

#include <algorithm>

#include "core/BatteryNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVWorkLoggerTest : public LoggerTest {};

TEST_F(ZVWorkLoggerTest, ListsTheBusiestUnitsFirst) {
  SimWorkUnits& work = handset.work();
  EXPECT_EQ(ZVWorkLogger::logger(services(), work), nullptr) << "no units, no logger";
  work.addCpuTime("quiet.service", 0.0999);
  work.addCpuTime("app-b@1", 3);
  work.addCpuTime("app-a\n@2", 3);
  const auto logger = ZVWorkLogger::logger(services(), work);
  attach(*logger);
  logger->log();
  work.addCpuTime("quiet.service", 100.12);
  notifications.post(kBatteryLevelDidChange);
  work.end("app-b@1");
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  handset.faults().fail("work.units");
  logger->log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Work] app-a\\x0a@2=3.0; app-b@1=3.0;",
                                      "[Work] quiet.service=100.2; app-a\\x0a@2=3.0; app-b@1=3.0;",
                                      "[Work] quiet.service=100.2; -.slice=3.0; app-a\\x0a@2=3.0;",
                                      "[Zorva] Work: The units cannot be read"}));
  takeSystemLog();

  std::vector<WorkUnits::Unit> many;
  for (int i = 1; i <= 101; ++i) many.push_back({std::to_string(i), std::chrono::seconds(i)});
  const std::string body = ZVWorkLogger::bodyOf(many);
  EXPECT_EQ(std::ranges::count(body, ';'), 100);
  EXPECT_TRUE(body.ends_with(" 2=2.0;")) << body;
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "power/ZVScheduledWakeLogger.h"

#include "core/SleepNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVScheduledWakeLoggerTest : public LoggerTest {
 protected:
  ZVScheduledWakeLoggerTest() { attach(*logger); }
  void add(int seconds, const char* type) {
    handset.scheduledEvents().add({{"time", handset.clock().now() + std::chrono::seconds(seconds)},
                                   {"eventtype", type},
                                   {"scheduledby", "com.example.clock"}});
  }

  std::unique_ptr<ZVScheduledWakeLogger> logger =
      ZVScheduledWakeLogger::logger(services(), handset.scheduledEvents());
};

TEST_F(ZVScheduledWakeLoggerTest, EveryEventThatIsNotPastIsOneEntry) {
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{}) << "nothing is planned";

  add(-1, "wake");
  add(3, "restart");
  add(0, "wake");
  add(1, "wakepoweron");
  add(1, "poweron");
  add(2, "sleep");
  add(2, "shutdown");
  add(4, "Wake");
  handset.scheduledEvents().add({});
  handset.scheduledEvents().add(
      {{"time", "soon"}, {"eventtype", "a\nb"}, {"scheduledby", "50% \xff"}});
  logger->log();
  const Lines expected{
      "[Schedule] event=Scheduled Wake; id=com.example.clock; time=2026-11-16 14:00:00 +0000;",
      "[Schedule] event=Scheduled Wake or Power On; id=com.example.clock; "
      "time=2026-11-16 14:00:01 +0000;",
      "[Schedule] event=Power On from Off state; id=com.example.clock; "
      "time=2026-11-16 14:00:01 +0000;",
      "[Schedule] event=Scheduled Sleep; id=com.example.clock; time=2026-11-16 14:00:02 +0000;",
      "[Schedule] event=Scheduled Shutdown; id=com.example.clock; time=2026-11-16 14:00:02 +0000;",
      "[Schedule] event=Scheduled Restart; id=com.example.clock; time=2026-11-16 14:00:03 +0000;",
      "[Schedule] event=Wake; id=com.example.clock; time=2026-11-16 14:00:04 +0000;",
      "[Schedule] event=(null); id=(null); time=(null);",
      "[Schedule] event=a\\x0ab; id=50% \uFFFD; time=soon;",
  };
  EXPECT_EQ(log.takeEntries(), expected);
}

}  // namespace
}  // namespace zorva

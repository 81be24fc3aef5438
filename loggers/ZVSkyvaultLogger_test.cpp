#include "loggers/ZVSkyvaultLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVSkyvaultLoggerTest : public LoggerTest {};

TEST_F(ZVSkyvaultLoggerTest, WritesOneEntryAnEventWhileEnabled) {
  const auto logger = ZVSkyvaultLogger::logger(services());
  attach(*logger);
  logger->log();
  const char* names[] = {"VKSSRPingGoingOut", "VKSSRPingGoingOut", "VKSSRInboxNotificationReceived",
                         "VKSSRSyncNotificationReceived", "VKSSRTRKDNotificationReceived"};
  for (const char* name : names) handset.notifications().post(name);
  EXPECT_EQ(log.takeEntries(), (Lines{"[Skyvault Event] type=ping;", "[Skyvault Event] type=ping;",
                                      "[Skyvault Event] type=inbox_notification;",
                                      "[Skyvault Event] type=sync_notification;",
                                      "[Skyvault Event] type=trkd_notification;"}));
  logger->setEnabled(false);
  handset.notifications().post(names[0]);
}

}  // namespace
}  // namespace zorva

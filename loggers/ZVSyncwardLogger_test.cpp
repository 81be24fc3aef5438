#include "loggers/ZVSyncwardLogger.h"

#include "core/BatteryNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVSyncwardLoggerTest : public LoggerTest {};

TEST_F(ZVSyncwardLoggerTest, WritesOneEntryAnAccountAndOneAPing) {
  const auto logger = ZVSyncwardLogger::logger(services(), handset.accountSync());
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  handset.accountSync().setReports(
      {{{accountsync::kDisplayName, "Work\n50% %n"},
        {accountsync::kAccountType, "mail"},
        {accountsync::kUniqueIdentifier, Value::Data{0xAB}},
        {accountsync::kTimeSpan, 3600},
        {accountsync::kNetworkingTime, 0.125},
        {accountsync::kHeartbeatInterval, 16777217},
        // Just past the middle of two floats; as a double it would lie in the middle.
        {accountsync::kSuccessfulRequests, std::int64_t{0x4000004000000001}}},
       {{accountsync::kNetworkFailures, 2},
        {accountsync::kProtocolFailures, true},
        {accountsync::kDownloadedElements, "12"},
        {"Other\nkey", {}}}});
  notifications.post(kBatteryLevelDidChange);
  const Lines reports{
      "[Syncward] name=Work\\x0a50% %n; type=mail; udid=<ab>; time_span=3600.00; "
      "networking_time=0.12; hbi=16777216.00; successful_requests=4611686568183201792.00;",
      "[Syncward] network_failures=2.00; protocol_failures=1.00; downloaded_elements=12; "
      "Other\\x0akey=(null);"};
  EXPECT_EQ(log.takeEntries(), reports);
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(log.takeEntries(), reports);

  handset.notifications().post(accountsync::kPingReceivedTraffic);
  handset.notifications().post(accountsync::kPingGoingOut);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Syncward Event] type=inbound_data;", "[Syncward Event] type=ping;"}));
}

}  // namespace
}  // namespace zorva

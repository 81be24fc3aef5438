#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "loggers/ZVPushNotificationLogger.h"
#include "loggers/ZVSkyvaultLogger.h"
#include "loggers/ZVSyncwardLogger.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVPushNotificationLoggerTest : public LoggerTest {
 protected:
  std::unique_ptr<ZVPushNotificationLogger> make() {
    auto logger =
        ZVPushNotificationLogger::logger(services(), push, handset.platform().preferences);
    attach(*logger);
    return logger;
  }
  SimPushService& push = handset.push();
};

TEST_F(ZVPushNotificationLoggerTest, ShowsContentsOnlyWhereThatIsWanted) {
  const auto logger = make();
  logger->log();
  push.sendMessage("news\n", {{"nmx", Dictionary{{"alert", "Hi"}}}});
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[NMX Event] type=received_message_message;", "[NMXN] topic=news\\x0a;"}));

  SetPreferenceValue(handset.platform().preferences, kShowNMXContents, true);
  push.sendMessage("news", {{"nmx", Dictionary{{"alert", "Hi\n50% %n"}, {"badge", 3}}}});
  push.sendMessage("odd", {{"nmx", "no dictionary"}});
  push.sendMessage("news", {{"to", Dictionary{{"text\n", "a\nb"}, {"none", Dictionary()}}},
                            {"list", Value::List{Value::Data{0x0A}, 1}},
                            {"nmx", {}}});
  EXPECT_EQ(log.takeLines(),
            (Lines{"11/16/26 14:00:00 [NMX Event] type=received_message_message;",
                   "11/16/26 14:00:00 [NMXN] topic=news; alert=Hi\\x0a50% %n; badge=3; "
                   "sound=(null);",
                   "11/16/26 14:00:00 [NMX Event] type=received_message_message;",
                   "11/16/26 14:00:00 [NMXN] topic=odd; alert=(null); badge=(null); sound=(null);",
                   "11/16/26 14:00:00 [NMX Event] type=received_message_message;",
                   "11/16/26 14:00:00 [Zorva]{", "    to = {", "        text\\x0a = a\\x0ab;",
                   "        none = {", "        };", "    };", "    list = (", "        <0a>,",
                   "        1", "    );", "    nmx = (null);", "}",
                   "11/16/26 14:00:00 [NMXN] topic=news; contents=<unformatted>;"}));
}

TEST_F(ZVPushNotificationLoggerTest, WritesNoTokenAndHearsNothingAtItsEnd) {
  auto logger = make();
  push.setConnected(false);
  push.sendMessage("late", {});
  EXPECT_EQ(log.takeEntries(), Lines{"[NMX Event] type=stream_ended;"});
  push.sendPublicToken({1, 2, 3});
  EXPECT_EQ(log.takeEntries(), Lines{"[NMX Event] type=token_received;"});
  logger.reset();
  push.sendPublicToken({1, 2, 3});
  push.setConnected(true);
}

TEST_F(ZVPushNotificationLoggerTest, HearsBothServicesEvenWithoutAConnection) {
  handset.faults().fail("push.createConnection");
  const auto logger = make();
  const auto cloud = ZVSkyvaultLogger::logger(services());
  attach(*cloud);
  cloud->log();
  for (const auto& [name, entry] :
       {std::pair("NMXDidOpenConnectionStream", "[NMX Event] type=opened_stream;"),
        {"NMXDidEncounterStreamEnd", "[NMX Event] type=stream_ended;"},
        {"NMXDidEncounterStreamError", "[NMX Event] type=stream_error;"},
        {"NMXDidSendFilterMessage", "[NMX Event] type=sent_filter_message;"},
        {"NMXDidRecieveMessageMessage", "[NMX Event] type=received_message_message;"},
        {"NMXDidSendKeepAliveMessage", "[NMX Event] type=sent_keep_alive_message;"},
        {"VKSSRPingGoingOut", "[Skyvault Event] type=ping;"},
        {"VKSSRInboxNotificationReceived", "[Skyvault Event] type=inbox_notification;"},
        {"VKSSRSyncNotificationReceived", "[Skyvault Event] type=sync_notification;"},
        {"VKSSRTRKDNotificationReceived", "[Skyvault Event] type=trkd_notification;"}}) {
    handset.notifications().post(name);
    handset.notifications().post(name);
    EXPECT_EQ(log.takeEntries(), Lines(2, entry));
  }
  cloud->setEnabled(false);
  handset.notifications().post("VKSSRPingGoingOut");
}

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

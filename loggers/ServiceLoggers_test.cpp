// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "loggers/ZVAccessoryLogger.h"
#include "loggers/ZVApplicationLogger.h"
#include "loggers/ZVGeodyneLogger.h"
#include "loggers/ZVKeeplineLogger.h"
#include "loggers/ZVPushNotificationLogger.h"
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

using ZVSyncwardLoggerTest = LoggerTest;

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

using ZVAccessoryLoggerTest = LoggerTest;

TEST_F(ZVAccessoryLoggerTest, WritesEachThatComesAndGoes) {
  SimAccessoryManager& accessories = handset.accessories();
  auto logger = ZVAccessoryLogger::logger(services(), accessories);
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  accessories.connect(
      {true, 3054, "Acme\n", "", "50% %n", "0042", std::nullopt, "2.1", {"alpha", "beta"}});
  accessories.connect({true, 0xFFFFFFFF, {}, {}, {}, {}, {}, {}, {"", ""}});
  const std::string dock =
      "connection_id=bee; mfg=Acme\\x0a; name=<unknown>; model=50% %n; serial=0042; "
      "firmware=(null); hardware=2.1; protocols=alpha beta;";
  const Lines both{
      "[Accessory] connected=yes; " + dock,
      "[Accessory] connected=yes; connection_id=ffffffff; mfg=(null); name=(null); model=(null); "
      "serial=(null); firmware=(null); hardware=(null); protocols=<unknown>;"};
  EXPECT_EQ(log.takeEntries(), both);
  logger->log();
  EXPECT_EQ(log.takeEntries(), both);
  accessories.disconnect(3054);
  logger->log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Accessory] connected=no; " + dock, both[1]}));

  logger.reset();
  accessories.disconnect(0xFFFFFFFF);
  EXPECT_FALSE(accessories.registered());
}

using State = SimApplicationStates::State;
using Reasons = std::vector<std::int32_t>;

using ZVApplicationLoggerTest = LoggerTest;

TEST_F(ZVApplicationLoggerTest, ListsActiveOnesAndWritesEveryChange) {
  SimApplicationStates& applications = handset.applications();
  auto logger = ZVApplicationLogger::logger(services(), applications);
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  applications.setApplication("com.example.mail", {State::Foreground, 91});
  applications.setApplication("odd\n50% %n", {State::Suspended, std::nullopt});
  applications.setApplication("com.example.gone", {State::Terminated, std::nullopt});
  applications.setApplication("com.example.debugged", {State::Foreground, 92, true});
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Application] id=com.example.mail; pid=91; mode=foreground; reason=<unknown>;",
                   "[Application] id=odd\\x0a50% %n; pid=<unknown>; mode=suspended; "
                   "reason=<unknown>;"}));

  const std::string mail = "com.example.mail";
  applications.notify({mail, 95, 2, Reasons{2}});
  applications.notify({mail, std::nullopt, std::nullopt, Reasons{2, 3, 99}});
  applications.notify({mail, -1, 77, Reasons{}});
  handset.faults().fail("applications.processOf");
  applications.notify({mail, std::nullopt, 1, std::nullopt});
  applications.notify({});
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Application] id=com.example.mail; pid=95; mode=background; reason=audio;",
                   "[Application] id=com.example.mail; pid=91; mode=foreground; "
                   "reason=audio location reason-99;",
                   "[Application] id=com.example.mail; pid=-1; mode=state-77; reason=;",
                   "[Application] id=com.example.mail; pid=<unknown>; mode=suspended; "
                   "reason=<unknown>;",
                   "[Application] id=(null); pid=<unknown>; mode=terminated; reason=<unknown>;"}));
  EXPECT_TRUE(applications.generating());
  logger.reset();
  EXPECT_FALSE(applications.generating());
}

class ZVGeodyneLoggerTest : public LoggerTest {
 protected:
  ZVGeodyneLoggerTest() { attach(*logger); }
  SimLocationService& location = handset.location();
  std::unique_ptr<ZVGeodyneLogger> logger = ZVGeodyneLogger::logger(services(), location);
};

TEST_F(ZVGeodyneLoggerTest, WritesTechnologiesOnlyWhenTheListIsAnother) {
  const std::string allOff =
      "[Geodyne] gps=off; nmea=off; accessory=off; wifi=off; skyhook=off; cell=off; lac=off; "
      "mcc=off; gps_coarse=off;";
  const std::string some =
      "[Geodyne] gps=on; nmea=off; accessory=off; wifi=on; skyhook=off; cell=off; lac=off; "
      "mcc=off; gps_coarse=on;";
  const std::string others =
      "[Geodyne] gps=off; nmea=on; accessory=on; wifi=off; skyhook=on; cell=on; lac=on; mcc=on; "
      "gps_coarse=off;";
  // The order alone is news, and so is a code that is not written.
  const std::pair<std::vector<std::int64_t>, Lines> cases[] = {
      {{}, {allOff}},
      {{}, {}},
      {{9, 1, 4}, {some}},
      {{9, 1, 4}, {}},
      {{1, 4, 9}, {some}},
      {{1, 4, 9, 12}, {some}},
      {{2, 3, 5, 6, 7, 8}, {others}},
  };
  for (const auto& [inUse, entries] : cases) {
    location.setTechnologies(inUse);
    EXPECT_EQ(log.takeEntries(), entries) << inUse.size();
  }
}

TEST_F(ZVGeodyneLoggerTest, WritesClientsEveryTime) {
  logger->logTechnologies();
  log.takeEntries();
  const std::pair<Dictionary, const char*> cases[] = {
      {{{"BundleId", "com.example.maps"}, {"Executable", "maps"}, {"LocationDesiredAccuracy", -1}},
       "id=com.example.maps; accuracy=-1.0; filter=0.0; location=inactive; monitoring=inactive;"},
      {{{"BundleId", "b\n"},
        {"RoleId", "50%"},
        {"LocationDistanceFilter", 99.95},
        {"LocationTimeStarted", 500.0},
        {"FenceTimeStarted", 0.5}},
       "id=b\\x0a-50%; accuracy=0.0; filter=100.0; location=active; monitoring=active;"},
      {{{"Executable", "wifid"},
        {"RoleId", "none"},
        {"LocationTimeStarted", 500.0},
        {"LocationTimeStopped", 500},
        {"FenceTimeStarted", 501},
        {"FenceTimeStopped", 500.9}},
       "id=wifid; accuracy=0.0; filter=0.0; location=inactive; monitoring=active;"},
      {{{"LocationTimeStarted", std::nan("")},
        {"FenceTimeStarted", 5},
        {"FenceTimeStopped", "never"}},
       "id=<unknown>; accuracy=0.0; filter=0.0; location=inactive; monitoring=inactive;"},
  };
  Lines expected;
  for (const auto& [client, fields] : cases) {
    location.setClient(std::to_string(expected.size()), client);
    expected.push_back(std::string("[Geodyne Client] ") + fields);
    EXPECT_EQ(log.takeEntries(), expected);
  }
  logger->log();
  EXPECT_EQ(log.takeEntries(), expected) << "with the same technologies";
}

using Users = std::vector<std::uint32_t>;
constexpr std::uint32_t kDaemon = SimProcessIdentity::kDaemon;

class ZVKeeplineLoggerTest : public LoggerTest {
 protected:
  ZVKeeplineLoggerTest() { handset.accounts().setUser("mobile", {777, 777}); }

  std::unique_ptr<ZVKeeplineLogger> make() {
    auto logger = ZVKeeplineLogger::logger(services(), service, identity, handset.accounts());
    attach(*logger);
    return logger;
  }
  SimPersistentConnections& service = handset.persistentConnections();
  SimProcessIdentity& identity = handset.identity();
};

TEST_F(ZVKeeplineLoggerTest, WritesSettingsAndCachesAtEveryChange) {
  const auto logger = make();
  logger->log();
  handset.runLoop().advance(4000);
  const Date now = handset.clock().now();
  service.setPreferences(false, 900);
  service.setCache("mail\n", {{now - std::chrono::seconds(3725), 1680}});
  service.setCache("chat", {{std::nullopt, "25% %n"}});
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Keepline] push=enabled; polling_interval=<manual>;",
                   "[Keepline] push=disabled; polling_interval=900;",
                   "[Keepline] push=disabled; polling_interval=900;",
                   "[KL Client] id=mail\\x0a; interval=1680; cache_age=01:02:05;",
                   "[Keepline] push=disabled; polling_interval=900;",
                   "[KL Client] id=mail\\x0a; interval=1680; cache_age=01:02:05;",
                   "[KL Client] id=chat; interval=25% %n; cache_age=<unknown>;"}));
  EXPECT_EQ(identity.takeRequests(),
            (Users{777, kDaemon, 777, kDaemon, 777, kDaemon, 777, kDaemon}));
  EXPECT_EQ(identity.effectiveUser(), kDaemon);
}

TEST_F(ZVKeeplineLoggerTest, SwitchesBackOnEveryPath) {
  auto logger = make();
  handset.faults().fail("identity.setEffectiveUser");
  logger->log();
  handset.faults().fail("identity.setEffectiveUser", 2);
  logger->log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Zorva] Unable to change to mobile user",
                                      "[Keepline] push=disabled; polling_interval=<manual>;",
                                      "[Zorva] Unable to change to mobile user",
                                      "[Zorva] Unable to change back to original user",
                                      "[Keepline] push=disabled; polling_interval=<manual>;"}));
  EXPECT_EQ(takeSystemLog().size(), 3U);
  EXPECT_EQ(identity.takeRequests(), (Users{777, kDaemon, 777, kDaemon}));

  handset.accounts().removeUser("mobile");
  logger = make();
  logger->log();
  EXPECT_EQ(takeSystemLog(), Lines{"Error: Unable to determine mobile user id"});
  EXPECT_EQ(identity.takeRequests(), (Users{501, kDaemon}));

  identity.start(501);
  logger = make();
  logger->log();
  EXPECT_EQ(identity.takeRequests(), Users{}) << "it is that user anyway";
  EXPECT_EQ(log.takeEntries(), Lines(2, "[Keepline] push=enabled; polling_interval=<manual>;"));
  EXPECT_EQ(takeSystemLog().size(), 1U);
}

}  // namespace
}  // namespace zorva

#include "loggers/ZVKeeplineLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

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

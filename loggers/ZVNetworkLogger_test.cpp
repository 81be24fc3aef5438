#include "loggers/ZVNetworkLogger.h"

#include "core/BatteryNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVNetworkLoggerTest : public LoggerTest {
 protected:
  ZVNetworkLoggerTest() {
    for (const char* name : {"lo0", "en0", "pdp_ip0"}) handset.interfaces().removeInterface(name);
  }
  void makeLogger() {
    logger = ZVNetworkLogger::logger(services(), handset.interfaces());
    attach(*logger);
  }
  std::unique_ptr<ZVNetworkLogger> logger;
};

TEST_F(ZVNetworkLoggerTest, CountsEachLinkOnceAndTotalsSinceTheLastEntry) {
  SimNetworkInterfaces& interfaces = handset.interfaces();
  interfaces.setInterface({.name = "lo0", .loopback = true, .counters = {5000, 5000}});
  interfaces.setInterface({.name = "en0", .counters = {123456, 7890}, .networkAddresses = 2});
  interfaces.setInterface({.name = "tun%n\n", .counters = {4294967295, 0}});
  interfaces.setInterface({.name = "bare0", .counters = {1, 1}, .hasCounters = false});
  makeLogger();
  handset.runLoop().advance(60);
  logger->log();
  interfaces.addTraffic("en0", 1536, 512);
  handset.runLoop().advance(5);
  notifications.post(kBatteryLevelDidChange);
  interfaces.removeInterface("tun%n\n");
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Network] TotalSinceLastCheck=4194424.6K/7.7K; TimeSinceLastCheck=60s; "
                   "en0=123456b/7890b; tun%n\\x0a=4294967295b/0b;",
                   "[Network] TotalSinceLastCheck=1.5K/0.5K; TimeSinceLastCheck=5s; "
                   "en0=124992b/8402b; tun%n\\x0a=4294967295b/0b;",
                   "[Network] TotalSinceLastCheck=-4194304.0K/0.0K; TimeSinceLastCheck=0s; "
                   "en0=124992b/8402b;"}));
}

TEST_F(ZVNetworkLoggerTest, AFailureLeavesTheTotalsAlone) {
  handset.interfaces().setInterface({.name = "en0", .counters = {1024, 2048}});
  makeLogger();
  handset.faults().fail("interfaces.addresses");
  logger->log();
  handset.runLoop().advance(9);
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Zorva] Network: Error calling getifaddrs()",
                   "[Network] TotalSinceLastCheck=1.0K/2.0K; TimeSinceLastCheck=9s; "
                   "en0=1024b/2048b;"}));
  takeSystemLog();
}

}  // namespace
}  // namespace zorva

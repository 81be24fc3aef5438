// SPDX-License-Identifier: Apache-2.0
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
};

TEST_F(ZVNetworkLoggerTest, CountsEachLinkOnceAndTotalsSinceTheLastEntry) {
  SimNetworkInterfaces& interfaces = handset.interfaces();
  interfaces.setInterface({.name = "lo0", .loopback = true, .counters = {5000, 5000}});
  interfaces.setInterface({.name = "en0", .counters = {123456, 7890}, .networkAddresses = 2});
  interfaces.setInterface({.name = "tun%n\n", .counters = {4294967295, 0}});
  interfaces.setInterface({.name = "bare0", .counters = {1, 1}, .hasCounters = false});
  const auto logger = ZVNetworkLogger::logger(services(), interfaces);
  attach(*logger);
  handset.runLoop().advance(60);
  logger->log();
  interfaces.addTraffic("en0", 1536, 512);
  handset.faults().fail("interfaces.addresses");
  logger->log();  // leaves the totals alone
  handset.runLoop().advance(5);
  notifications.post(kBatteryLevelDidChange);
  interfaces.removeInterface("tun%n\n");
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Network] TotalSinceLastCheck=4194424.6K/7.7K; TimeSinceLastCheck=60s; "
                   "en0=123456b/7890b; tun%n\\x0a=4294967295b/0b;",
                   "[Zorva] Network: Error calling getifaddrs()",
                   "[Network] TotalSinceLastCheck=1.5K/0.5K; TimeSinceLastCheck=5s; "
                   "en0=124992b/8402b; tun%n\\x0a=4294967295b/0b;",
                   "[Network] TotalSinceLastCheck=-4194304.0K/0.0K; TimeSinceLastCheck=0s; "
                   "en0=124992b/8402b;"}));
  takeSystemLog();
}

}  // namespace
}  // namespace zorva

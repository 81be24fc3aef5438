// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVWiFiLogger.h"

#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVWiFiLoggerTest : public LoggerTest {
 protected:
  std::unique_ptr<ZVWiFiLogger> make() {
    return ZVWiFiLogger::logger(services(), wifi, driver, handset.platform().preferences);
  }
  void askForCounters() {
    SetPreferenceValue(handset.platform().preferences, kShouldQueryWiFiPowerUsage, true);
  }

  SimWiFiManager& wifi = handset.wifi();
  SimWiFiDriver& driver = handset.wifiDriver();
  const std::string noCounters = " pm_dur=<unavailable>; mpc_dur=<unavailable>;";
};

TEST_F(ZVWiFiLoggerTest, WritesEachChangeOfPowerAndLink) {
  auto logger = make();
  attach(*logger);
  logger->log();
  wifi.setWow(true);
  wifi.setNetwork(WiFiNetwork{"a\n%n\xff" + std::string(1, '\0')});
  wifi.setWowSupported(false);
  wifi.setNetwork(WiFiNetwork{});
  wifi.setNetwork(std::nullopt);
  wifi.setPowered(false);
  wifi.setPowered(false);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[WiFi] status=on; ap=Sim Network; wow=off;" + noCounters,
                   "[WiFi] status=on; ap=a\\x0a%n\xef\xbf\xbd\\x00; wow=on;" + noCounters,
                   "[WiFi] status=on; ap=<unknown>; wow=off;" + noCounters,
                   "[WiFi] status=on; ap=<disassociated>; wow=off;" + noCounters,
                   "[WiFi] status=off; ap=<disassociated>; wow=off;" + noCounters}));
  EXPECT_EQ(driver.takeRequests(), Lines{});

  logger.reset();
  wifi.setPowered(true);
  notifications.post(kBatteryLevelDidChange);
}

TEST_F(ZVWiFiLoggerTest, FollowsTheDeviceThatIsAttached) {
  wifi.setAttached(false);
  wifi.setWow(true);
  auto logger = make();
  attach(*logger);
  logger->log();
  notifications.post(kBatteryLevelDidChange);  // followed from the first device on
  const std::string none = "[WiFi] status=no wifi; ap=<unknown>; wow=off;" + noCounters;
  EXPECT_EQ(log.takeEntries(), Lines{none});

  const std::string on = "[WiFi] status=on; ap=Sim Network; wow=on;" + noCounters;
  for (int i = 0; i < 2; ++i) {
    wifi.setAttached(false);
    wifi.setAttached(true);
    notifications.post(kBatteryLevelDidChange);
    notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
    EXPECT_EQ(log.takeEntries(), (Lines{on, on, on})) << i;
  }

  // With no list of devices the old one stays followed, and an entry is still written.
  const auto followed = logger->wifiDevice();
  wifi.setAttached(false);
  handset.faults().fail("wifi.copyDevices");
  wifi.setAttached(true);
  EXPECT_EQ(logger->wifiDevice(), followed);
  EXPECT_EQ(log.takeEntries(),
            Lines{"[WiFi] status=off; ap=<disassociated>; wow=on;" + noCounters});

  logger->findWiFiDevice();
  logger->setWifiDevice(logger->wifiDevice());
  logger->setWifiManager(logger->wifiManager());
  wifi.setPowered(false);  // once each
  EXPECT_EQ(log.takeEntries(),
            Lines{"[WiFi] status=off; ap=<disassociated>; wow=on;" + noCounters});
  logger->setWifiManager(nullptr);
  wifi.setPowered(true);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{none});
}

TEST_F(ZVWiFiLoggerTest, ReadsAndThenClearsTheDriversCounters) {
  const std::string state = "[WiFi] status=on; ap=Sim Network; wow=off;";
  askForCounters();
  auto logger = make();
  attach(*logger);
  driver.count("pm_dur", 0xFFFFFFFF);
  driver.count("mpc_dur", 0x01020380);
  logger->log();
  EXPECT_EQ(driver.takeRequests(),
            (Lines{"query pm_dur", "query mpc_dur", "reset pm_dur", "reset mpc_dur"}));
  driver.count("pm_dur", 7);
  wifi.setPowered(false);
  EXPECT_EQ(driver.takeRequests(), Lines{});

  handset.faults().fail("wifiDriver.openSocket", 1, 24);
  wifi.setPowered(true);
  driver.count("pm_dur", 1);
  handset.faults().fail("wifiDriver.request", 1, 6);
  logger->log();
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            (Lines{state + " pm_dur=4294967295; mpc_dur=16909184;",
                   "[WiFi] status=off; ap=<disassociated>; wow=off;" + noCounters,
                   state + " pm_dur=-10024; mpc_dur=0;", state + " pm_dur=-6; mpc_dur=0;",
                   state + " pm_dur=0; mpc_dur=0;"}));

  // Disabled, the callbacks still clear the counters, a battery notification does not.
  logger->setEnabled(false);
  driver.takeRequests();
  notifications.post(kBatteryLevelDidChange);
  EXPECT_EQ(driver.takeRequests(), Lines{});
  wifi.setNetwork(std::nullopt);
  EXPECT_EQ(driver.takeRequests().size(), 4u);
  EXPECT_EQ(driver.openSockets(), 0);
}

}  // namespace
}  // namespace zorva

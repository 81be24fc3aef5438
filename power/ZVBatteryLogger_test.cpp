// SPDX-License-Identifier: Apache-2.0
#include "power/ZVBatteryLogger.h"

#include <algorithm>
#include <cmath>

#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVBatteryLoggerTest : public LoggerTest {
 protected:
  ZVBatteryLoggerTest() {
    ZVBatteryProperties::forgetGasGauge();
    handset.batteryUsage().setTimes(std::nullopt);
    RegisterPreferenceDefaults(handset.preferences());
    for (const char* name : {kBatteryStatusDidChange, kBatteryLevelDidChange,
                             kBatteryLevelDidNotChangeForSignificantTime}) {
      observations_.push_back(notifications.observe(name, [this, name](const Notification& n) {
        EXPECT_EQ(n.sender, logger.get());
        const auto properties = std::any_cast<std::shared_ptr<ZVBatteryProperties>>(
            n.userInformation.at("ZVBatteryStatusPropertiesKey"));
        events.push_back(std::to_string(wholePercent(properties->capacity())) + " " + name);
        for (std::string& entry : log.takeEntries()) seenBefore.push_back(std::move(entry));
      }));
    }
  }
  ~ZVBatteryLoggerTest() override { ZVBatteryProperties::forgetGasGauge(); }

  ZVBatteryProperties::Sources sources() {
    const Platform& platform = handset.platform();
    return {platform.registry, platform.device, platform.systemLog};
  }
  std::unique_ptr<ZVBatteryLogger> make() {
    return ZVBatteryLogger::logger(services(), sources(), handset.batteryUsage(),
                                   handset.preferences());
  }
  void makeLogger() {
    logger = make();
    ASSERT_NE(logger, nullptr);
    attach(*logger);
  }
  std::vector<std::string> takeEvents() { return std::exchange(events, {}); }

  std::unique_ptr<ZVBatteryLogger> logger;
  std::vector<std::string> events;
  std::vector<std::string> seenBefore;  // entries written before the notification came

 private:
  std::vector<Registration> observations_;
};

TEST_F(ZVBatteryLoggerTest, TellsChangesBeforeAndLevelsAfterTheEntry) {
  makeLogger();
  handset.battery().setLevel(80.9);  // the same whole percent
  handset.battery().announce();
  EXPECT_EQ(takeEvents(), Lines{"80 ZVBatteryStatusDidChangeNotification"});
  EXPECT_EQ(seenBefore, Lines{});
  EXPECT_EQ(log.takeEntries().size(), 1U);

  handset.runLoop().advance(10);
  handset.battery().setLevel(81.0);
  handset.battery().announce();
  EXPECT_EQ(takeEvents(), (Lines{"81 ZVBatteryStatusDidChangeNotification",
                                 "81 ZVBatteryLevelDidChangeNotification"}));
  EXPECT_EQ(seenBefore.size(), 1U) << "the level's news comes after the entry";
  EXPECT_EQ(logger->lastBatteryLevelChangeDate(), handset.clock().now());

  handset.battery().announce(0xE0000130);
  EXPECT_EQ(takeEvents(), Lines{});
}

TEST_F(ZVBatteryLoggerTest, ALevelThatStaysIsNewsAfterASignificantTime) {
  const Lines change{"80 ZVBatteryStatusDidChangeNotification"};
  const Lines significant{change[0], "80 ZVBatteryLevelDidNotChangeForSignificantTimeNotification"};
  makeLogger();
  const auto eventsAfter = [this](double seconds) {
    handset.runLoop().advance(seconds);
    handset.battery().announce();
    static_cast<void>(log.takeEntries());
    return takeEvents();
  };
  EXPECT_EQ(eventsAfter(1800), change);
  EXPECT_EQ(eventsAfter(1), significant);
  EXPECT_EQ(eventsAfter(1800), change);
  SetPreferenceValue(handset.preferences(), kSecondsBeforeSignificantTimeTriggered, "60.0");
  EXPECT_EQ(eventsAfter(1), significant) << "a new setting counts at once";
  EXPECT_EQ(eventsAfter(61), significant);
  handset.clock().set(handset.clock().now() - std::chrono::hours(24));
  EXPECT_EQ(eventsAfter(61), change) << "by the clock no time has passed";
  EXPECT_EQ(eventsAfter(24 * 3600), significant);

  // While disabled, no entry is written but the state moves on.
  logger->setEnabled(false);
  EXPECT_EQ(eventsAfter(61), significant);
  logger->setEnabled(true);
  EXPECT_EQ(eventsAfter(1), change);
}

TEST_F(ZVBatteryLoggerTest, ABatteryTakenOutReadsAsMissingAndComesBack) {
  makeLogger();
  handset.battery().setPresent(false);
  handset.battery().announce();
  EXPECT_EQ(takeEvents(), (Lines{"0 ZVBatteryStatusDidChangeNotification",
                                 "0 ZVBatteryLevelDidChangeNotification"}));
  ASSERT_EQ(seenBefore.size(), 1U);
  EXPECT_EQ(seenBefore[0],
            "[Battery] level=nan%; voltage=-1 mV; current=0 mA; max_capacity=0; "
            "charging_state=Inactive; charging_current=0 mA; battery_temp=0.00 C; "
            "usage=<unknown>; standby=<unknown>;");
  const Lines problems = takeSystemLog();
  EXPECT_EQ(problems.front(), "Unable to get properties for battery (0xe00002c0)");
  EXPECT_EQ(std::ranges::count(problems, "Unable to look up battery voltage"), 1);
  handset.battery().setPresent(true);
  handset.battery().announce();
  EXPECT_EQ(takeEvents().back(), "80 ZVBatteryLevelDidChangeNotification");
}

TEST_F(ZVBatteryLoggerTest, IsNotMadeWithoutSourceOrBattery) {
  handset.faults().fail("registry.addToRunLoop");
  EXPECT_EQ(make(), nullptr);
  handset.faults().fail("registry.addInterest", 1, 0xE00002BC);
  EXPECT_EQ(make(), nullptr);
  handset.battery().setPresent(false);
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(takeSystemLog(),
            (Lines{"Error: Unable to get a run loop source for battery notifications",
                   "Error: Error calling IOServiceAddInterestNotification (0xe00002bc)",
                   "Error: Error calling IOServiceAddInterestNotification (0xe00002c2)"}));
}

TEST_F(ZVBatteryLoggerTest, OneReadingAnswersEverythingButTheVoltage) {
  SimBattery& battery = handset.battery();
  ZVBatteryProperties properties(sources());
  EXPECT_DOUBLE_EQ(properties.capacity(), 80.0);
  battery.setLevel(50);
  battery.setVoltage(3333);
  EXPECT_DOUBLE_EQ(properties.capacity(), 80.0);
  EXPECT_EQ(properties.voltage(), 3333);
  properties.invalidateCache();
  EXPECT_DOUBLE_EQ(properties.capacity(), 50.0);

  battery.set("VennorRawCurrentCapacity", 1255);
  battery.set("VennorRawMaxCapacity", 2000);
  properties.invalidateCache();
  EXPECT_EQ(properties.rawCapacity(), 63) << "62.75, rounded";
  battery.set("VennorRawMaxCapacity", 0);
  battery.set("MaxCapacity", 0);
  properties.invalidateCache();
  EXPECT_EQ(properties.rawCapacity(), 0);
  EXPECT_TRUE(std::isinf(properties.capacity()));
}

TEST_F(ZVBatteryLoggerTest, ChargingStatesFirstMatchWins) {
  const struct {
    bool charging, full;
    const char *status, *text;
  } cases[] = {{true, true, "HighTemperature", "Active"},
               {false, true, "HighTemperature", "Full"},
               {false, false, "LowTemperature", "UnderTemp"},
               {false, false, "BatteryTemperatureGradient", "Gradient"},
               {false, false, "hightemperature", "hightemperature"}};
  for (const auto& [charging, full, status, text] : cases) {
    handset.battery().setCharging(charging);
    handset.battery().setFullyCharged(full);
    handset.battery().setChargeStatus(status);
    ZVBatteryProperties properties(sources());
    EXPECT_EQ(properties.humanReadableChargingState(), text);
    EXPECT_EQ(properties.draining(), !charging && !full);
  }
}

TEST(WholePercent, IsDefinedForEveryLevel) {
  EXPECT_EQ(wholePercent(std::nan("")), 0U);
  EXPECT_EQ(wholePercent(HUGE_VAL), 0U);
  EXPECT_EQ(wholePercent(1e300), 4294967295U);
  EXPECT_EQ(wholePercent(-HUGE_VAL), 0U);
}

}  // namespace
}  // namespace zorva

#include "power/ZVBatteryLogger.h"

#include <algorithm>
#include <cmath>

#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "core/ZorvaState.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVBatteryLoggerTest : public LoggerTest {
 protected:
  ZVBatteryLoggerTest() {
    sZorvaState.gasGaugeEnabled.reset();
    handset.batteryUsage().setTimes(std::nullopt);
    RegisterPreferenceDefaults(handset.preferences());
    for (const char* name : {kBatteryStatusDidChange, kBatteryLevelDidChange,
                             kBatteryLevelDidNotChangeForSignificantTime}) {
      observations_.push_back(notifications.observe(name, [this, name](const Notification& n) {
        EXPECT_EQ(n.sender, logger.get());
        const auto properties = std::any_cast<std::shared_ptr<ZVBatteryProperties>>(
            n.userInformation.at("ZVBatteryStatusPropertiesKey"));
        events.push_back(formatLevel(*properties) + " " + name);
        for (std::string& entry : log.takeEntries()) seenBefore.push_back(std::move(entry));
      }));
    }
  }
  ~ZVBatteryLoggerTest() override { sZorvaState.gasGaugeEnabled.reset(); }

  static std::string formatLevel(ZVBatteryProperties& properties) {
    return std::to_string(wholePercent(properties.capacity()));
  }

  ZVBatteryProperties::Sources sources() {
    const Platform& platform = handset.platform();
    return {platform.registry, platform.device, platform.systemLog};
  }
  void makeLogger() {
    logger = ZVBatteryLogger::logger(services(), sources(), handset.batteryUsage(),
                                     handset.preferences());
    ASSERT_NE(logger, nullptr);
    attach(*logger);
  }
  void change(double level) {
    handset.battery().setLevel(level);
    handset.battery().announce();
  }
  std::vector<std::string> takeEvents() { return std::exchange(events, {}); }

  std::unique_ptr<ZVBatteryLogger> logger;
  std::vector<std::string> events;
  std::vector<std::string> seenBefore;  // entries written before the notification came

 private:
  std::vector<Registration> observations_;
};

TEST_F(ZVBatteryLoggerTest, WritesEveryField) {
  SimBattery& battery = handset.battery();
  battery.set("MaxCapacity", 1400);
  battery.set("CurrentCapacity", 1234);
  battery.setVoltage(3921);
  battery.setCurrent(-212);
  battery.setChargingCurrent(-198);
  battery.setTemperature(29.5);
  makeLogger();
  logger->log();
  handset.batteryUsage().setTimes(BatteryUsage::Times{3725.0F, 90061.0F});
  battery.setChargeStatus("LowTemperature");
  battery.set("Voltage", Value());
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Battery] level=88.14%; voltage=3921 mV; current=-212 mA; max_capacity=1400; "
                   "charging_state=Inactive; charging_current=-198 mA; battery_temp=29.50 C; "
                   "usage=<unknown>; standby=<unknown>;",
                   "[Battery] level=88.14%; voltage=-1 mV; current=-212 mA; max_capacity=1400; "
                   "charging_state=UnderTemp; charging_current=-198 mA; battery_temp=29.50 C; "
                   "usage=01:02:05; standby=25:01:01;"}));
  EXPECT_EQ(takeSystemLog(), Lines{"Unable to look up battery voltage"});
}

TEST_F(ZVBatteryLoggerTest, WithoutAGasGaugeCurrentAndCapacityAreUnknown) {
  handset.device().setAnswer("gas-gauge-battery", {});
  handset.battery().set("Voltage", 1);
  handset.battery().set("VennorRawBatteryVoltage", 3700);
  makeLogger();
  logger->log();
  handset.device().setAnswer("gas-gauge-battery", true);  // is not asked again
  logger->log();
  const Lines entries = log.takeEntries();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_NE(entries[0].find(" voltage=3700 mV; current=<unknown>; max_capacity=<unknown>;"),
            std::string::npos)
      << entries[0];
  EXPECT_EQ(entries[1], entries[0]);
}

TEST_F(ZVBatteryLoggerTest, TellsChangesBeforeAndLevelsAfterTheEntry) {
  makeLogger();
  change(80.9);  // the same whole percent
  EXPECT_EQ(takeEvents(), Lines{"80 ZVBatteryStatusDidChangeNotification"});
  EXPECT_EQ(seenBefore, Lines{});
  EXPECT_EQ(log.takeEntries().size(), 1U);

  handset.runLoop().advance(10);
  change(81.0);
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
  for (const char* problem :
       {"Unable to get properties for battery (0xe00002c0)", "Unable to look up battery voltage"}) {
    EXPECT_NE(std::find(problems.begin(), problems.end(), problem), problems.end()) << problem;
  }
  handset.battery().setPresent(true);
  handset.battery().announce();
  EXPECT_EQ(takeEvents().back(), "80 ZVBatteryLevelDidChangeNotification");
}

TEST_F(ZVBatteryLoggerTest, IsNotMadeWithoutSourceOrBattery) {
  const auto make = [this] {
    return ZVBatteryLogger::logger(services(), sources(), handset.batteryUsage(),
                                   handset.preferences());
  };
  handset.faults().fail("registry.addToRunLoop");
  EXPECT_EQ(make(), nullptr);
  handset.faults().fail("registry.addInterest", 1, 0xE00002BC);
  EXPECT_EQ(make(), nullptr);
  handset.battery().setPresent(false);
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(takeSystemLog(),
            (Lines{"Error: Unable to get a run loop source for battery notifications",
                   "Error: Error calling IOServiceAddInterestNotification (0xe00002bc)",
                   "No battery found",
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
    std::optional<std::string> status;
    const char* text;
  } cases[] = {{true, true, "HighTemperature", "Active"},
               {false, true, "HighTemperature", "Full"},
               {false, false, std::nullopt, "Inactive"},
               {false, false, "HighTemperature", "OverTemp"},
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
  EXPECT_EQ(wholePercent(88.99), 88U);
  EXPECT_EQ(wholePercent(-0.5), 0U);
  EXPECT_EQ(wholePercent(std::nan("")), 0U);
  EXPECT_EQ(wholePercent(HUGE_VAL), 0U);
  EXPECT_EQ(wholePercent(1e300), 4294967295U);
  EXPECT_EQ(wholePercent(-HUGE_VAL), 0U);
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVEnergyLogger.h"

#include "core/BatteryNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVEnergyLoggerTest : public LoggerTest {
 protected:
  // A counter whose range is 100 kJ: at 145 W, 690 s.
  void set(const std::string& name, double joules, double range = 1e5) {
    energy.counter(name).used = static_cast<std::uint64_t>(joules * 1e6);
    energy.counter(name).range = static_cast<std::uint64_t>(range * 1e6);
  }
  std::string after(double seconds) {
    handset.runLoop().advance(seconds);
    logger->log();
    return log.takeEntries().at(0);
  }

  SimEnergyCounters& energy = handset.energy();
  std::unique_ptr<ZVEnergyLogger> logger;
};

TEST_F(ZVEnergyLoggerTest, LogsJoulesSinceItsStart) {
  EXPECT_EQ(ZVEnergyLogger::logger(services(), energy), nullptr) << "no counter, no logger";
  set("package-0", 99999.5);
  energy.counter("gpu\n;").range = 0;  // suspended at first
  logger = ZVEnergyLogger::logger(services(), energy);
  attach(*logger);
  logger->log();
  energy.addUse("package-0", 12.34);
  energy.addUse("gpu\n;", 50);
  handset.runLoop().advance(60);
  notifications.post(kBatteryLevelDidChange);
  energy.addUse("gpu\n;", 2);
  set("late", 70);
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  energy.remove("late");
  energy.counter("gpu\n;").used.reset();
  logger->log();
  handset.faults().fail("energy.read");
  logger->log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Energy] package-0=0.0 J; gpu\\x0a;=<unavailable>;",
                                      "[Energy] package-0=12.3 J; gpu\\x0a;=0.0 J;",
                                      "[Energy] package-0=12.3 J; gpu\\x0a;=2.0 J; late=0.0 J;",
                                      "[Energy] package-0=12.3 J; gpu\\x0a;=2.0 J;",
                                      "[Zorva] Energy: No counter can be read"}));
  takeSystemLog();
}

TEST_F(ZVEnergyLoggerTest, TellsTheEndOfTheRangeFromARestart) {
  set("package-0", 99000);
  set("core", 500);
  set("board", 7000, 0);
  set("dram", 0);
  logger = ZVEnergyLogger::logger(services(), energy);
  attach(*logger);
  const std::string others = "; board=0.0 J; dram=0.0 J;";
  // 2 kJ over the end in 20 s are 100 W, in 10 s they are not possible.
  set("package-0", 1000);
  set("core", 600);
  EXPECT_EQ(after(20), "[Energy] package-0=2000.0 J; core=100.0 J" + others);
  set("package-0", 99000);
  set("core", 700);
  EXPECT_EQ(after(680), "[Energy] package-0=100000.0 J; core=200.0 J" + others);
  set("package-0", 1000);
  set("core", 701);
  EXPECT_EQ(after(10),
            "[Energy] package-0=100000.0 J; core=201.0 J" + others + " restarted=package-0;");
  // All at once; dram, which never counts, says nothing about it. One without a range.
  set("package-0", 999);
  set("core", 700);
  set("board", 6999, 0);
  EXPECT_EQ(after(690), "[Energy] package-0=100000.0 J; core=201.0 J" + others +
                            " restarted=package-0,core,board;");
  // From there on as before. At 145 W, 1,000 s are 145 kJ.
  set("package-0", 1009);
  set("core", 45'701);
  set("board", 7009, 0);
  EXPECT_EQ(after(1000),
            "[Energy] package-0=100010.0 J; core=45202.0 J; board=10.0 J; dram=0.0 J; "
            "at_least=package-0;");
}

}  // namespace
}  // namespace zorva

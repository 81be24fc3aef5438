// SPDX-License-Identifier: Apache-2.0
#include "core/BatteryNotifications.h"
#include "power/ZVPowerAssertionChangedLogger.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class PowerAssertionTest : public LoggerTest {
 protected:
  PowerAssertionTest() {
    handset.processes().setProcess(412, "player");
    handset.processes().setProcess(90, "odd\nname");
  }
  template <typename Logger>
  std::unique_ptr<Logger> make() {
    auto logger = Logger::logger(services(), handset.powerManagement(), handset.processes());
    attach(*logger);
    return logger;
  }
};

TEST_F(PowerAssertionTest, SnapshotsListEvenOddOnes) {
  const auto logger = make<ZVPowerAssertionLogger>();
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  handset.powerManagement().take(90, "50% %n");
  handset.powerManagement().takeRecord(77, {{"AssertPID", 77}});
  handset.runLoop().advance(190);
  notifications.post(kBatteryLevelDidChange);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Assertion] state=held; process=odd\\x0aname; pid=90; name=50% %n; "
                   "held_for=00:03:10;",
                   "[Assertion] state=held; process=<unknown>; pid=77; name=(null); "
                   "held_for=(null);"}));
}

TEST_F(PowerAssertionTest, ChangesAreCreatedThenReleased) {
  SimPowerManagement& power = handset.powerManagement();
  power.take(412, "before");
  power.take(412, "audio");
  const auto logger = make<ZVPowerAssertionChangedLogger>();
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{}) << "what was there at the start is no news";

  handset.runLoop().advance(90);
  logger->setEnabled(false);
  power.release(412, "audio");
  power.take(412, "audio");  // another one: it starts later
  power.take(412, "audio");  // its twin counts as one with it
  power.release(412, "before");
  logger->setEnabled(true);
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Assertion] state=created; process=player; pid=412; name=audio; "
                   "held_for=00:00:00;",
                   "[Assertion] state=released; process=player; pid=412; name=before; "
                   "held_for=00:01:30;",
                   "[Assertion] state=released; process=player; pid=412; name=audio; "
                   "held_for=00:01:30;"}));
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});
  power.releaseAll(412);
  EXPECT_EQ(log.takeEntries().size(), 1U) << "twins are released as one";
}

}  // namespace
}  // namespace zorva

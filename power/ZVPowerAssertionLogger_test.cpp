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

TEST_F(PowerAssertionTest, SnapshotsListWhatIsHeld) {
  const auto logger = make<ZVPowerAssertionLogger>();
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  handset.powerManagement().take(412, "audio");
  handset.powerManagement().take(90, "50% %n");
  handset.powerManagement().takeRecord(77, {{"AssertPID", 77}});
  handset.runLoop().advance(190);
  notifications.post(kBatteryLevelDidChange);
  EXPECT_EQ(
      log.takeEntries(),
      (Lines{"[Assertion] state=held; process=player; pid=412; name=audio; held_for=00:03:10;",
             "[Assertion] state=held; process=odd\\x0aname; pid=90; name=50% %n; "
             "held_for=00:03:10;",
             "[Assertion] state=held; process=<unknown>; pid=77; name=(null); "
             "held_for=(null);"}));

  handset.faults().fail("powerManagement.copyAssertionsByProcess");
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{"[Zorva] Call to IOPMCopyAssertionsByProcess failed"});
  EXPECT_EQ(takeSystemLog(), Lines{"Error: Call to IOPMCopyAssertionsByProcess failed"});
}

TEST_F(PowerAssertionTest, ChangesAreCreatedThenReleased) {
  SimPowerManagement& power = handset.powerManagement();
  power.take(412, "before");
  const auto logger = make<ZVPowerAssertionChangedLogger>();
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{}) << "what was there at the start is no news";

  power.take(412, "audio");
  EXPECT_EQ(log.takeEntries(), Lines{"[Assertion] state=created; process=player; pid=412; "
                                     "name=audio; held_for=00:00:00;"});
  handset.runLoop().advance(90);
  logger->setEnabled(false);
  power.release(412, "audio");
  power.take(412, "audio");  // another one: it starts later
  power.release(412, "before");
  EXPECT_EQ(log.takeEntries(), Lines{});
  logger->setEnabled(true);
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Assertion] state=created; process=player; pid=412; name=audio; "
                   "held_for=00:00:00;",
                   "[Assertion] state=released; process=player; pid=412; name=before; "
                   "held_for=00:01:30;",
                   "[Assertion] state=released; process=player; pid=412; name=audio; "
                   "held_for=00:01:30;"}));
}

TEST_F(PowerAssertionTest, TwinsCountAsOne) {
  const auto logger = make<ZVPowerAssertionChangedLogger>();
  logger->setEnabled(false);
  handset.powerManagement().take(412, "twin");
  handset.powerManagement().take(412, "twin");
  logger->setEnabled(true);
  logger->log();
  EXPECT_EQ(log.takeEntries().size(), 1U);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});
  handset.powerManagement().releaseAll(412);
  EXPECT_EQ(log.takeEntries().size(), 1U);
}

TEST_F(PowerAssertionTest, AFailedQueryReleasesAllUntilTheNextOne) {
  handset.powerManagement().take(412, "audio");
  const auto logger = make<ZVPowerAssertionChangedLogger>();
  handset.faults().fail("powerManagement.copyAssertionsByProcess");
  logger->log();
  logger->log();
  const Lines entries = log.takeEntries();
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0], "[Zorva] Call to IOPMCopyAssertionsByProcess failed");
  EXPECT_EQ(entries[1].substr(0, 28), "[Assertion] state=released; ");
  EXPECT_EQ(entries[2].substr(0, 27), "[Assertion] state=created; ");
  takeSystemLog();
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "power/ZVDisplayLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVDisplayLoggerTest : public LoggerTest {
 protected:
  std::unique_ptr<ZVDisplayLogger> make() {
    return ZVDisplayLogger::logger(services(), handset.platform().registry);
  }
};

TEST_F(ZVDisplayLoggerTest, ShowsWhatWasReadAtTheStartOrAnnouncedLast) {
  SimBacklight& backlight = handset.backlight();
  auto logger = make();
  ASSERT_NE(logger, nullptr);
  backlight.announce();  // while it is disabled
  attach(*logger);
  backlight.setBrightness(200);
  backlight.setMinimum(-3);
  backlight.setMaximum(1023);
  logger->log();
  backlight.announce(kBatteryStatusChanged);
  backlight.announce();
  for (const int brightness : {1, 0}) {
    backlight.setBrightness(brightness);
    backlight.announce();
  }
  logger->setEnabled(false);
  backlight.setBrightness(5'000'000'000);
  backlight.announce();
  logger->setEnabled(true);
  handset.faults().fail("backlight.property");
  logger->log();
  logger.reset();
  backlight.announce();
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Display] brightness=120; min=-3; max=1023; active=yes;",
                   "[Display] brightness=200; min=-3; max=1023; active=yes;",
                   "[Display] brightness=1; min=-3; max=1023; active=yes;",
                   "[Display] brightness=0; min=-3; max=1023; active=no;",
                   "[Display] brightness=5000000000; min=0; max=0; active=yes;"}));
}

TEST_F(ZVDisplayLoggerTest, NeedsABacklightAndHearsThatThereIsNoneWhateverElseFails) {
  handset.backlight().setPresent(false);
  handset.faults().fail("registry.addInterest", 1, 0xE00002BC);
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(takeSystemLog(),
            Lines{"Error: Error calling IOServiceAddInterestNotification (0xe00002c2)"});
  EXPECT_EQ(handset.faults().fail("registry.addInterest", 1, 0), SimFaults::Outcome::WrongResult);
}

}  // namespace
}  // namespace zorva

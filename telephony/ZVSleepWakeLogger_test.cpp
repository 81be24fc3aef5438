// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVSleepWakeLogger.h"

#include <utility>

#include "core/SleepNotifications.h"
#include "power/ZVScheduledWakeLogger.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

// The snapshot of the sockets, seen by its failure.
constexpr const char* kNoSnapshot = "syslog: [PacketTracker] Can't get PID byte count: 5";

// Writes down what happens in its order: entries, lines on the system log, notifications and what
// is asked of the power-management service.
class ZVSleepWakeLoggerTest : public LoggerTest {
 protected:
  ZVSleepWakeLoggerTest() {
    handset.systemPower().setWitness([this](const std::string& what) { note(what); });
    makeLogger();
    for (const char* name : {kDeviceWillSleep, kDeviceDidWake}) {
      observations_.push_back(notifications.observe(
          name, [this](const Notification& n) { note(std::string(n.name)); }, logger.get()));
    }
  }
  ~ZVSleepWakeLoggerTest() override {
    logger.reset();
    handset.systemPower().setWitness({});
  }

  void makeLogger() {
    const Platform& platform = handset.platform();
    logger = ZVSleepWakeLogger::loggerWithConnection(
        services(), handset.telephonyNotifications(),
        std::make_shared<ZVTelephonyConnection>(
            ZVTelephonyConnection::Sources{platform.telephonyServer, platform.telephony,
                                           platform.telephonyNotifications, platform.systemLog}),
        {platform.systemPower, platform.kernel, platform.processInformation});
    attach(*logger);
  }
  void note(const std::string& what) {
    for (std::string& line : takeSystemLog()) happened_.push_back("syslog: " + line);
    for (std::string& entry : log.takeEntries()) happened_.push_back(std::move(entry));
    if (!what.empty()) happened_.push_back(what);
  }
  Lines takeHappened() {
    note("");
    return std::exchange(happened_, {});
  }

  std::unique_ptr<ZVSleepWakeLogger> logger;

 private:
  Lines happened_;
  std::vector<Registration> observations_;
};

TEST_F(ZVSleepWakeLoggerTest, ASleepIsSeenThenLoggedThenAllowed) {
  const auto schedule = ZVScheduledWakeLogger::logger(services(), handset.scheduledEvents());
  attach(*schedule);
  handset.scheduledEvents().add({{"eventtype", "wake"}});
  logger->log();
  EXPECT_EQ(takeHappened(), Lines{}) << "no snapshot";
  handset.faults().fail("processInformation.countProcesses", 2);

  handset.systemPower().sleep();
  EXPECT_EQ(takeHappened(),
            (Lines{"[Sleep] event=can_sleep;", "allow 1", kNoSnapshot, kDeviceWillSleep,
                   "[Schedule] event=Scheduled Wake; id=(null); time=(null);",
                   "[Sleep] event=will_sleep;", "allow 2"}));

  logger->setEnabled(false);
  schedule->setEnabled(false);
  handset.systemPower().sleep();
  handset.systemPower().wake("rtc");
  EXPECT_EQ(takeHappened(),
            (Lines{"allow 3", kNoSnapshot, kDeviceWillSleep, "allow 4", kDeviceDidWake}));

  logger->setEnabled(true);
  handset.systemPower().send(static_cast<std::uint32_t>(PowerMessage::WillNotSleep));
  handset.systemPower().send(0xE0000320);
  handset.runLoop().advance(3600);
  EXPECT_EQ(takeHappened(), Lines{"[Sleep] event=will_not_sleep;"})
      << "nothing is waited for, and other messages are none of its own";
}

TEST_F(ZVSleepWakeLoggerTest, ItGivesBackWhatItHasInOrder) {
  logger.reset();
  handset.systemPower().sleep();
  EXPECT_EQ(takeHappened(), (Lines{"remove source", "deregister 1001", "destroy port", "close 1"}));

  handset.faults().fail("systemPower.registerForSystemPower");
  makeLogger();
  handset.faults().fail("systemPower.addSourceToRunLoop");
  makeLogger();
  handset.systemPower().sleep();
  logger.reset();
  EXPECT_EQ(takeHappened(),
            (Lines{"deregister 0", "close 0", "deregister 1002", "destroy port", "close 2"}));
}

}  // namespace
}  // namespace zorva

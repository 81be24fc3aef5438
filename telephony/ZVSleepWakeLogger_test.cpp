#include "telephony/ZVSleepWakeLogger.h"

#include <utility>

#include "core/SleepNotifications.h"
#include "platform/sim/Scenario.h"
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

TEST_F(ZVSleepWakeLoggerTest, AWakeHasItsReason) {
  const std::string longReason(300, 'a');
  const std::pair<std::string, std::string> reasons[] = {
      {"rtc", "rtc"},
      {"", ""},
      {" \t50% %n\r\n", "50% %n"},
      {"a\nb\xff", "a\\x0ab\uFFFD"},
      {std::string("rtc\0radios", 10), "rtc"},
      {longReason + "radios", longReason.substr(0, 256)},
      {"EXTON(BB)", "EXTON(BB)"},
      {"Radios", "Radios"},
      {"exton(wl)", "exton(wl)"},
  };
  for (const auto& [reason, shown] : reasons) {
    handset.systemPower().wake(reason);
    EXPECT_EQ(takeHappened(), (Lines{"[Wake] reason=" + shown + "; info=<none>;", kDeviceDidWake}));
  }

  handset.systemPower().wake(std::nullopt);
  handset.faults().fail("kernel.read", 1, 5);
  handset.systemPower().wake("baseband");
  EXPECT_EQ(takeHappened(), (Lines{"syslog: Error: Could not get wake reason (errno: 2)",
                                   "[Zorva] Could not get wake reason (errno: 2)",
                                   "[Wake] reason=<unknown>; info=<none>;", kDeviceDidWake,
                                   "syslog: Error: Could not get wake reason (errno: 5)",
                                   "[Zorva] Could not get wake reason (errno: 5)",
                                   "[Wake] reason=<unknown>; info=<none>;", kDeviceDidWake}));
}

TEST_F(ZVSleepWakeLoggerTest, WhatTheBasebandWokeTheDeviceForFollowsTheWake) {
  const Scenario story = Scenario::read(R"(
device:
  processes:
    - id: 211
      name: demo
      path: /usr/bin/demo
      sockets: [{tcp: 10.2.3.4:49152, remote: 192.0.2.7:993}]
steps:
  - at: 1m
    sleep: true
  - at: 2m
    processes: {end: 211}  # its socket is remembered from before the sleep
    telephony:
      wake_command: " Dlci 3 [pdp_0]: 45 00 00 3c 1a 2b 40 00 38 06 00 00 c0 00 02 07 0a 02 03 04
        03 e1 c0 00 00 00 00 01 00 00 00 02 50 18 02 00\r\n"
    wake: {reason: exton2(bb)}
  - at: 3m
    telephony: {wake_command: "Dlci 1 [call]: a\x07XCALLSTAT"}
    wake: {reason: wlradiosx}
  - at: 4m
    telephony: {wake_command: "AT+\nno format of ours %n"}
    wake: {reason: a baseband wake}
  - at: 5m
    fault: {point: telephonyServer.copyWakeCommand, result: 7}
    wake: {reason: exton(bb)}
)",
                                        "story", handset);
  story.begin(handset);
  const auto minute = [this] {
    handset.runLoop().advance(60);
    return takeHappened();
  };
  EXPECT_EQ(minute(), (Lines{"[Sleep] event=can_sleep;", "allow 1", kDeviceWillSleep,
                             "[Sleep] event=will_sleep;", "allow 2"}));
  EXPECT_EQ(
      minute(),
      (Lines{"[Wake] reason=exton2(bb); info=Dlci 3 [pdp_0]: 45 00 00 3c 1a 2b 40 00 38 06 00 00 "
             "c0 00 02 07 0a 02 03 04 03 e1 c0 00 00 00 00 01 00 00 00 02 50 18 02 00;",
             "[PacketDecoder] version=IPv4; length=60; ttl=56; protocol=TCP; source=192.0.2.7; "
             "destination=10.2.3.4; source_port=993; dest_port=49152; seq=1; ack=2; offset=5; "
             "window=512; control=xxxAPxxx;",
             "[PacketTracker] process=demo; path=/usr/bin/demo; pid=211; tcp_status=ESTABLISHED; "
             "local=10.2.3.4:49152; remote=192.0.2.7:993;",
             kDeviceDidWake}));
  EXPECT_EQ(minute(), (Lines{"[Wake] reason=wlradiosx; info=Dlci 1 [call]: a\\x07XCALLSTAT;",
                             "[PacketDecoder] status=Incoming Call;", kDeviceDidWake}));
  EXPECT_EQ(minute(), (Lines{"syslog: [PacketDecoder] Wake reason format unrecognized",
                             "[Wake] reason=a baseband wake; info=AT+\\x0ano format of ours %n;",
                             kDeviceDidWake}));
  EXPECT_EQ(minute(), (Lines{"syslog: Could not copy the AT wake command. (domain: 1 error: 7)",
                             "syslog: [PacketDecoder] Wake reason parameter nil",
                             "[Wake] reason=exton(bb); info=(null);", kDeviceDidWake}));
}

TEST_F(ZVSleepWakeLoggerTest, ItGivesBackWhatItHasInOrder) {
  logger.reset();
  handset.systemPower().sleep();
  EXPECT_EQ(takeHappened(), (Lines{"remove source", "deregister 1001", "destroy port", "close 1"}));

  handset.faults().fail("systemPower.registerForSystemPower");
  makeLogger();
  ASSERT_NE(logger, nullptr);
  logger.reset();
  EXPECT_EQ(takeHappened(), (Lines{"deregister 0", "close 0"}));
}

}  // namespace
}  // namespace zorva

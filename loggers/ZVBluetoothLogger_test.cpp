// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVBluetoothLogger.h"

#include "core/BatteryNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVBluetoothLoggerTest : public LoggerTest {
 protected:
  void begin() {
    logger = ZVBluetoothLogger::logger(services(), server, handset.runLoop());
    attach(*logger);
  }
  void pass(double seconds) { handset.runLoop().advance(seconds); }
  void restart() {
    server.setRunning(false);
    server.setRunning(true);
  }

  /// The log's lines without their dates, and that each error stands on the system log, too.
  Lines taken() {
    Lines lines;
    Lines errors;
    for (const std::string& line : log.takeLines()) {
      lines.push_back(line.empty() ? line : withoutDate(line));
      const std::string_view entry = lines.back();
      if (entry.starts_with("[Zorva] ")) errors.push_back("Error: " + lines.back().substr(8));
      // The message ends in a newline of its own, and the entry in another one.
      if (entry.empty() && !errors.empty()) errors.back() += "\n";
    }
    EXPECT_EQ(takeSystemLog(), errors);
    return lines;
  }

  SimBluetoothServer& server = handset.bluetooth();
  std::unique_ptr<ZVBluetoothLogger> logger;
};

constexpr const char* kLost =
    "[Zorva] Connection to Bluvane lost - attempting a reconnect in 30 seconds";
const std::string kIdle =
    "[Bluetooth] state=on; runvo=off; fm=off; discoverable=no; connectable=yes; connected=no; ";

TEST_F(ZVBluetoothLoggerTest, WritesAtMostOneEntryAMinute) {
  begin();
  pass(20);  // the attachment, at the first turn
  server.usePower(120);
  pass(39.5);
  for (const char* name : {kBatteryLevelDidChange, kBatteryLevelDidNotChangeForSignificantTime}) {
    notifications.post(name);
  }
  EXPECT_EQ(taken(), Lines{});
  pass(0.5);
  notifications.post(kBatteryLevelDidChange);
  EXPECT_EQ(taken(), Lines{kIdle + "power_consumption=120; power_err=0; power_time=60; "
                                   "power_consumption_rate=2;"});

  pass(59);
  server.setConnectionStatus(BluetoothServer::kStateOn);
  EXPECT_EQ(taken(), Lines{});
  pass(1);
  // Only all bits are on.
  server.setModulePower(BluetoothServer::Module::Runvo, 1);
  EXPECT_EQ(taken(), Lines{"[Bluetooth] state=on; runvo=off; fm=off; discoverable=no; "
                           "connectable=yes; connected=yes; power_consumption=0; power_err=0; "
                           "power_time=60; power_consumption_rate=0;"});
  server.setModulePower(BluetoothServer::Module::Controller, 0);
  server.setModulePower(BluetoothServer::Module::Runvo, BluetoothServer::kStateOn);
  server.setModulePower(BluetoothServer::Module::FM, BluetoothServer::kStateOn);
  server.setDiscoverable(BluetoothServer::kStateOn);
  server.setConnectable(0x7FFFFFFF);
  pass(100);
  handset.faults().fail("bluetooth.readPowerConsumption", 1, -7);
  notifications.post(kBatteryLevelDidNotChangeForSignificantTime);
  EXPECT_EQ(taken(), Lines{"[Bluetooth] state=off; runvo=on; fm=on; discoverable=yes; "
                           "connectable=no; connected=yes; power_consumption=0; power_err=-7; "
                           "power_time=100; power_consumption_rate=0;"});

  pass(70);
  logger->setEnabled(false);
  notifications.post(kBatteryLevelDidChange);
  logger->setEnabled(true);
  handset.clock().set(SimHandset::kStart);  // back
  logger->log();
  logger.reset();
  server.usePower(0xFFFFFFFF);
  restart();
  pass(100);
  EXPECT_EQ(taken(), Lines{});
}

TEST_F(ZVBluetoothLoggerTest, ReconnectsHalfAMinuteAfterALossAndNeverAfterDetaching) {
  begin();
  pass(1);
  server.setRunning(false);
  EXPECT_EQ(taken(), Lines{kLost});
  pass(40);  // asked for again, and waiting
  logger->log();
  server.setRunning(true);
  pass(0);
  // The interval begins at the attachment.
  pass(59);
  logger->log();
  EXPECT_EQ(taken(), Lines{});
  pass(1);
  notifications.post(kBatteryLevelDidChange);
  EXPECT_EQ(taken(), Lines{kIdle + "power_consumption=0; power_err=0; power_time=60; "
                                   "power_consumption_rate=0;"});

  restart();
  pass(29);
  EXPECT_EQ(taken(), Lines{kLost});
  handset.faults().fail("bluetooth.attachSession", 1, 9);
  pass(600);
  EXPECT_EQ(taken(), Lines{"[Zorva] Could not attach the Bluetooth session. (error: 9)"});
  handset.faults().fail("bluetooth.sessionAttached", 1, -3);
  logger->attachSession();
  pass(600);
  logger->log();
  EXPECT_EQ(taken(), Lines{"[Zorva] Could not attach session. (error: -3)"});

  // Each loss has its own attempt, also when the next one comes before it.
  logger->attachSession();
  pass(0);
  server.sendEvent(BluetoothServer::kSessionTerminated);
  pass(10);
  logger->attachSession();
  pass(10);
  handset.faults().fail("bluetooth.attachSession", 2, 9);
  server.sendEvent(BluetoothServer::kSessionTerminated);
  pass(10);
  const std::string refused = "[Zorva] Could not attach the Bluetooth session. (error: 9)";
  EXPECT_EQ(taken(), (Lines{kLost, kLost, refused}));
  pass(20);
  EXPECT_EQ(taken(), Lines{refused});
  pass(600);
  EXPECT_EQ(taken(), Lines{});

  logger->attachSession();
  pass(0);
  server.sendEvent(1);
  EXPECT_EQ(takeSystemLog(), Lines{"Unexpected Bluetooth session event. (event: 1)"});
  handset.faults().fail("bluetooth.detachSession", 1, 4);
  logger->detachSession();
  EXPECT_EQ(taken(), Lines{"[Zorva] Could not detach the Bluetooth session. (error: 4)"});
  restart();  // which ends a session that nobody wants any more
  pass(600);
  logger->attachSession();
  pass(0);
  logger->detachSession();
  pass(600);
  logger->log();
  EXPECT_EQ(taken(), Lines{});
}

TEST_F(ZVBluetoothLoggerTest, AnswersWithoutAControllerAndCountsItsFailures) {
  server.setPresent(false);
  begin();
  pass(60);
  const Lines noDevice{"[Zorva] Bluetooth power ERROR: BTLocalDeviceGetDefault: failed! 104", ""};
  EXPECT_EQ(
      taken(),
      (Lines{noDevice[0], "", "[Zorva] Could not add local device callbacks. (error: 103)",
             noDevice[0], "", "[Zorva] Could not register for Power notifications. (error: 103)"}));
  Lines expected{noDevice};
  for (const char* operation : {"GetModulePower", "GetModulePower", "GetDiscoverable",
                                "GetConnectable", "GetConnectionStatus"}) {
    expected.insert(expected.end(), noDevice.begin(), noDevice.end());
    expected.push_back("[Zorva] Bluetooth power ERROR: BTLocalDevice" + std::string(operation) +
                       ": failed! 103");
    expected.push_back("");
  }
  expected.insert(expected.end(), noDevice.begin(), noDevice.end());
  expected.push_back(
      "[Bluetooth] state=not present; runvo=off; fm=off; discoverable=no; connectable=no; "
      "connected=no; power_consumption=0; power_err=103; power_time=60; "
      "power_consumption_rate=0;");
  logger->log();
  EXPECT_EQ(taken(), expected);
  handset.faults().fail("bluetooth.modulePower", 1, 21);  // is not reached without a controller
  EXPECT_FALSE(logger->modulePowered());
  EXPECT_EQ(taken(), Lines(expected.begin() + 2, expected.begin() + 6));
  server.setPresent(true);
  handset.faults().fail("bluetooth.modulePower", 1, 21);
  EXPECT_FALSE(logger->modulePowered());
  EXPECT_TRUE(logger->modulePowered());
  EXPECT_EQ(taken(),
            (Lines{"[Zorva] Bluetooth power ERROR: BTLocalDeviceGetModulePower: failed! 21", ""}));
}

}  // namespace
}  // namespace zorva

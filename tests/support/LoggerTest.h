// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "core/NotificationCenter.h"
#include "core/ZVLogger.h"
#include "platform/assemble/SimHandset.h"
#include "tests/support/LogCapture.h"

namespace zorva {

/// A handset, and what a logger needs to write to a captured log. Lines in the log or the system
/// log that the test did not take fail it.
///
///     class ZVBatteryLoggerTest : public LoggerTest {};
///
///     TEST_F(ZVBatteryLoggerTest, WritesASnapshot) {
///       const auto logger = ZVBatteryLogger::logger(services(), ...);
///       attach(*logger);
///       logger->log();
///       EXPECT_EQ(log.takeEntries(), Lines{"[Battery] level=80.00%; ..."});
///     }
class LoggerTest : public ::testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  ~LoggerTest() override { expectNoLines("system log", takeSystemLog()); }

  ZVLogger::Services services() {
    const Platform& platform = handset.platform();
    return {platform.clock, *entryDates, platform.systemLog, platform.systemNotifications,
            notifications};
  }

  /// What start-up does to a logger before it requests the first snapshot.
  void attach(ZVLogger& logger) {
    logger.setLogFile(&log.stream());
    logger.setEnabled(true);
  }

  Lines takeSystemLog() { return handset.systemLog().takeLines(); }

  SimHandset handset;
  NotificationCenter notifications;
  LogCapture log;
  std::unique_ptr<DateFormatter> entryDates =
      handset.platform().dates.makeFormatter(ZVLogger::kEntryDatePattern);
};

}  // namespace zorva

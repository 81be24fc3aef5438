// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVConfigLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVConfigLoggerTest : public LoggerTest {
 protected:
  ZVConfigLoggerTest() {
    ZVBatteryProperties::forgetGasGauge();
    attach(*logger);
  }
  ~ZVConfigLoggerTest() override { ZVBatteryProperties::forgetGasGauge(); }
  void setDisplayPreference(const char* key, Value value) {
    handset.preferences().setValue({"com.vennor.lumbrel", "mobile"}, key, std::move(value));
  }

  const Platform& platform = handset.platform();
  std::unique_ptr<ZVConfigLogger> logger = ZVConfigLogger::loggerWithConnection(
      services(), handset.telephonyNotifications(),
      std::make_shared<ZVTelephonyConnection>(
          ZVTelephonyConnection::Sources{platform.telephonyServer, platform.telephony,
                                         platform.telephonyNotifications, platform.systemLog}),
      {{platform.registry, platform.device, platform.systemLog},
       platform.kernel,
       platform.profile,
       platform.preferences});
};

TEST_F(ZVConfigLoggerTest, TellsHowTheDeviceIsSetUp) {
  handset.kernel().setText("kern.bootargs", " \tdebug=0x8 -v\r\n");
  handset.battery().set("CycleCount", 52);
  handset.battery().set("DesignCapacity", 1420);
  handset.battery().set("MaxCapacity", 1420.6);
  setDisplayPreference("LBBacklightLevel2", 0.25);
  setDisplayPreference("LBEnableALS", false);
  handset.telephonyServer().setFirmwareVersion("07.11\n00");
  logger->log();
  EXPECT_EQ(
      log.takeEntries(),
      Lines{"[Config] version=5; build=5C104; device=LB20; fb_key=3d5f1b60c8e2497a; "
            "boot_args=debug=0x8 -v; auto_lock=60; backlight=0.250; als=disabled; "
            "baseband=07.11\\x0a00; cycle_count=52; max_capacity=1421; design_capacity=1420;"});
}

TEST_F(ZVConfigLoggerTest, WhatIsNotKnownHasItsOwnWordsAndErrorsStandBefore) {
  for (const char* key : {"BuildVersion", "InverseDeviceID", "HWModelStr", "gas-gauge-battery"}) {
    handset.device().setAnswer(key, {});
  }
  handset.device().setAnswer("BuildVersion", "a\nb\xff%s");
  handset.kernel().setText("kern.bootargs", std::nullopt);
  handset.profile().setEffectiveValue(kAutoLockTime, {});
  handset.faults().fail("preferences.value", 2);
  handset.telephonyServer().setFirmwareVersion("");
  logger->log();
  handset.telephonyServer().setFirmwareVersion(std::nullopt);
  handset.kernel().setBytes("kern.bootargs", "no NUL");
  handset.faults().fail("kernel.read");
  handset.faults().fail("profile.effectiveValue");
  handset.profile().setEffectiveValue(kAutoLockTime, "120");
  logger->log();
  logger->log();
  const std::string start =
      "[Config] version=5; build=a\\x0ab\uFFFD%s; device=(null); "
      "fb_key=(null); boot_args=";
  const std::string end =
      " backlight=0.500; als=enabled; baseband=<none>; cycle_count=<unknown>; "
      "max_capacity=<unknown>; design_capacity=<unknown>;";
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Zorva] unable to retrieve size of kern.bootargs",
                   "[Zorva] Unable to read LBBacklightLevel2, assuming the value is the default of "
                   "0.500000",
                   start + "(null); auto_lock=0;" + end, "[Zorva] unable to retrieve kern.bootargs",
                   start + "(null); auto_lock=0;" + end, start + "no NUL; auto_lock=120;" + end}));
  EXPECT_EQ(takeSystemLog().size(), 3U) << "the errors";
}

}  // namespace
}  // namespace zorva

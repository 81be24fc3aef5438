// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVTelephonyLogger.h"

#include "core/BatteryNotifications.h"
#include "core/SleepNotifications.h"
#include "telephony/RadioNotifications.h"
#include "telephony/ZVBasebandStateDurationLogger.h"
#include "telephony/ZVRegistrationLogger.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class TelephonyLoggersTest : public LoggerTest {
 protected:
  template <typename Logger, typename... Source>
  std::unique_ptr<Logger> make(Source&... source) {
    auto logger = Logger::loggerWithConnection(services(), centre, connection, source...);
    attach(*logger);
    return logger;
  }
  // The fields of a "Telephony" entry that these tests vary.
  static std::string entry(const char* data, const char* sim, const char* signal) {
    return std::string("[Telephony] band=<unknown>; data=") + data +
           "; rat=UMTS; call_status=Inactive; airplane_mode=off; sim=" + sim +
           "; signal=" + signal + " dBm; bars=3;";
  }
  void failTelephony(const char* point) {
    ASSERT_EQ(handset.faults().fail(point), SimFaults::Outcome::Armed) << point;
  }

  SimTelephony& radio = handset.telephony();
  SimTelephonyNotifications& centre = handset.telephonyNotifications();
  std::shared_ptr<ZVTelephonyConnection> connection =
      std::make_shared<ZVTelephonyConnection>(ZVTelephonyConnection::Sources{
          handset.telephonyServer(), radio, centre, handset.systemLog()});
};

// Walks down in steps of 1 dBm: only what is more than 5 dBm from the last written entry counts,
// and a battery entry moves that mark as well.
TEST_F(TelephonyLoggersTest, SignalsCountFromTheLastWrittenStrength) {
  const auto logger = make<ZVTelephonyLogger>(radio);
  Lines expected;
  for (int raw = -70; raw >= -110; --raw) {
    radio.setSignal({raw, 50, 3});
    if (raw == -85) notifications.post(kBatteryLevelDidChange);
  }
  for (const char* written : {"-70", "-76", "-82", "-85", "-91", "-97", "-103", "-109"}) {
    expected.push_back(entry("<unknown>", "Ready", written));
  }
  EXPECT_EQ(log.takeEntries(), expected);
  // Compared is what the notification says; written is what the library reads.
  centre.post(telephony::kSignalStrength, {{telephony::kRawSignalStrength, -104}});
  EXPECT_EQ(log.takeEntries(), Lines{});
  centre.post(telephony::kSignalStrength);
  EXPECT_EQ(log.takeEntries(), Lines{entry("<unknown>", "Ready", "-110")});
  logger->setLastReportedSignal(-95);
  logger->setInUTBF(true);
  centre.post(telephony::kSignalStrength, {{telephony::kRawSignalStrength, -100}});
  EXPECT_EQ(log.takeEntries(), Lines{});
  centre.post(telephony::kSignalStrength, {{telephony::kRawSignalStrength, -101}});
  EXPECT_EQ(log.takeEntries(), Lines{entry("UTBF", "Ready", "-110")});
}

TEST_F(TelephonyLoggersTest, OnlyANotificationOfTheRadioClearsChanged) {
  const auto logger = make<ZVTelephonyLogger>(radio);
  const std::string ready = entry("<unknown>", "Ready", "-85");
  logger->log();
  notifications.post(kBatteryLevelDidChange);
  centre.post(telephony::kSignalStrength, {{telephony::kRawSignalStrength, -90}});
  EXPECT_EQ(log.takeEntries(), (Lines{ready, ready}));
  radio.setSimStatus(radio.simStatus());
  EXPECT_EQ(log.takeEntries(), Lines{ready}) << "it started as changed";
  radio.setSimStatus(radio.simStatus());
  EXPECT_EQ(log.takeEntries(), Lines{});
  for (const char* name : {telephony::kDataPlanStatus, telephony::kRadioBandChange,
                           telephony::kCallStatusChange, telephony::kCallControlFailure}) {
    centre.post(name);
    EXPECT_EQ(log.takeEntries(), Lines{ready}) << name;
  }
  // Shortened by count, in characters, whatever the value begins with.
  const std::pair<std::optional<std::string>, const char*> kStatuses[] = {
      {"sim-status.Blocked", "Blocked"},
      {"\u00e4\u00f6\u00fc456789.1X", "X"},
      {"short", ""},
      {std::nullopt, "<unknown>"},
      {"", "<unknown>"}};
  for (const auto& [status, word] : kStatuses) {
    radio.setSimStatus(status);
    EXPECT_EQ(log.takeEntries(), Lines{entry("<unknown>", word, "-85")});
  }
  // What comes while it is disabled is dropped, and the change with it.
  logger->setEnabled(false);
  centre.post(telephony::kRadioBandChange);
  notifications.post(kBatteryLevelDidChange);
  logger->setEnabled(true);
  radio.setSimStatus("");
}

TEST_F(TelephonyLoggersTest, TransmitterChangesAskForAReportBeforeTheEntry) {
  const auto logger = make<ZVTelephonyLogger>(radio);
  const auto durations = make<ZVBasebandStateDurationLogger>();
  const auto posted = notifications.observe(
      "ZVRadioTransmitStatusDidChangeNotification",
      [&](const Notification& notification) {
        EXPECT_TRUE(notification.userInformation.empty());
        EXPECT_EQ(log.takeEntries(), Lines{}) << "before the entry";
      },
      logger.get());
  const std::pair<Dictionary, const char*> kCases[] = {
      {{{"other", true}}, "<unknown>"},
      {{{telephony::kDCHStatus, 1}, {telephony::kUTBFStatus, 0}}, "DCH"},
      {{{telephony::kUTBFStatus, true}}, "DCH/UTBF"},
      {{{telephony::kDCHStatus, false}}, "UTBF"},
      {{{telephony::kUTBFStatus, false}}, "inactive"},
      {{{telephony::kDCHStatus, Value()}}, "inactive"},
      {{{telephony::kUTBFStatus, Value()}}, "<unknown>"}};
  for (const auto& [information, data] : kCases) {
    centre.post(telephony::kRadioTransmit, information);
    EXPECT_EQ(log.takeEntries(), Lines{entry(data, "Ready", "-85")});
    handset.runLoop().advance(0);
    EXPECT_EQ(log.takeEntries(),
              Lines{"[Baseband State Durations] Sleep=3540000 ms; Idle=45000 ms; Active=15000 "
                    "ms;"});
  }
}

TEST_F(TelephonyLoggersTest, EveryTriggerAsksAndEveryReportIsWritten) {
  SimTelephonyServer& server = handset.telephonyServer();
  server.setStateDurations({{"modem.power-state-residency.A", 1200},
                            {"bare\n", -350},
                            {"modem.power-state-residency.", std::int64_t{1} << 32}});
  const auto logger = make<ZVBasebandStateDurationLogger>();
  logger->log();
  for (const char* name :
       {kDeviceDidWake, kBatteryLevelDidChange, kBatteryLevelDidNotChangeForSignificantTime,
        kRadioTransmitStatusDidChange}) {
    notifications.post(name);
  }
  EXPECT_EQ(log.takeEntries(), Lines{});
  handset.runLoop().advance(0);
  EXPECT_EQ(log.takeEntries(),
            Lines(5, "[Baseband State Durations] A=1200 ms; bare\\x0a=-350 ms; =0 ms;"));
  centre.post(telephony::kStateDurationReport);
  EXPECT_EQ(log.takeEntries(), Lines{"[Baseband State Durations]"});
  notifications.post(kDeviceDidWake);
  logger->setEnabled(false);
  notifications.post(kDeviceDidWake);
  handset.runLoop().advance(0);
}

TEST_F(TelephonyLoggersTest, RegistrationsAreWrittenWhenAnItemChanges) {
  const auto logger = make<ZVRegistrationLogger>(radio);
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            Lines{"[Registration] operator=Sim Mobile; lac=<unknown>; cell_id=<unknown>; "
                  "home=<unknown>; data_attached=yes; data_active=no; data_indicator=3G; "
                  "status=RegisteredHome;"});
  const std::string rest =
      " data_attached=yes; data_active=no; data_indicator=3G; status=RegisteredHome;";
  const auto cell = [&](SimTelephony::Cell each) {
    radio.setCell(each);
    return log.takeEntries();
  };
  const std::string noArea =
      "[Registration] operator=Sim Mobile; lac=<unknown>; cell_id=7; "
      "home=<unknown>;" +
      rest;
  EXPECT_EQ(cell({7, std::nullopt}), Lines{noArea});
  EXPECT_EQ(cell({7, std::nullopt}), Lines{noArea}) << "an area that is still missing is a change";
  EXPECT_EQ(cell({8, 35}), Lines{"[Registration] operator=Sim Mobile; lac=35; cell_id=8; "
                                 "home=<unknown>;" +
                                 rest});
  EXPECT_EQ(cell({8, 35}), Lines{});

  const std::string place = " lac=35; cell_id=8;";
  radio.setOperatorName("odd\nname");
  radio.setOperatorName("");
  radio.setOperatorName("");
  radio.setNetwork({"network-registration.", false});  // exactly the prefix
  radio.setNetwork({"short", true});
  radio.setData({false, true, "packet-data.radio-indicator.EDGE"});
  centre.post(telephony::kDataStatusChanged);
  radio.setNetwork({});
  radio.setOperatorName(std::nullopt);
  EXPECT_EQ(
      log.takeEntries(),
      (Lines{"[Registration] operator=odd\\x0aname;" + place + " home=<unknown>;" + rest,
             "[Registration] operator=<none>;" + place + " home=<unknown>;" + rest,
             "[Registration] operator=<none>;" + place +
                 " home=no; data_attached=yes; data_active=no; data_indicator=3G; status=;",
             "[Registration] operator=<none>;" + place +
                 " home=yes; data_attached=yes; data_active=no; data_indicator=3G; status=;",
             "[Registration] operator=<none>;" + place +
                 " home=yes; data_attached=no; data_active=yes; data_indicator=EDGE; status=;",
             "[Registration] operator=<none>;" + place +
                 " home=yes; data_attached=no; data_active=no; data_indicator=<unknown>; status=;",
             "[Registration] operator=<none>;" + place +
                 " home=<unknown>; data_attached=no; data_active=no; data_indicator=<unknown>; "
                 "status=<unknown>;",
             "[Registration] operator=<none>;" + place +
                 " home=<unknown>; data_attached=no; data_active=no; data_indicator=<unknown>; "
                 "status=<unknown>;"}));
}

}  // namespace
}  // namespace zorva

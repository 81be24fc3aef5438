// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVBasebandStateDurationLogger.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class TelephonyConnectionTest : public LoggerTest {
 protected:
  std::shared_ptr<ZVTelephonyConnection> make() {
    return std::make_shared<ZVTelephonyConnection>(
        ZVTelephonyConnection::Sources{server, handset.telephony(), centre, handset.systemLog()});
  }
  void requestAndTurn() {
    connection->requestBasebandStateDurationReport();
    handset.runLoop().advance(0);
  }
  void fail(const char* operation, int error = 0) {
    const std::string point = std::string("telephonyServer.") + operation;
    const auto result = error == 0 ? std::nullopt : std::optional<std::int64_t>(error);
    ASSERT_EQ(handset.faults().fail(point, 1, result), SimFaults::Outcome::Armed) << operation;
  }

  SimTelephonyServer& server = handset.telephonyServer();
  SimTelephonyNotifications& centre = handset.telephonyNotifications();
  int reports = 0;
  Registration counting = centre.observe(telephony::kStateDurationReport,
                                         [this](std::string_view, const Dictionary& report) {
                                           EXPECT_EQ(report.size(), 3U);
                                           ++reports;
                                         });
  std::shared_ptr<ZVTelephonyConnection> connection = make();
};

TEST_F(TelephonyConnectionTest, ARestartOrARefusedRequestMakesAnotherConnection) {
  connection->requestBasebandStateDurationReport();
  server.restart();
  handset.runLoop().advance(0);
  EXPECT_EQ(reports, 0) << "what was queued has gone with the server";
  requestAndTurn();
  EXPECT_EQ(reports, 1) << "reporting is on again";

  fail("requestStateDurationReport", -3);
  fail("createConnection");  // nothing is made anew until the next use
  requestAndTurn();
  EXPECT_EQ(takeSystemLog(),
            Lines{"Failed to get a baseband power state report (domain=1, error=-3)"});
  connection->requestBasebandStateDump("everything");
  EXPECT_EQ(takeSystemLog(), (Lines{"Failed to allocate a CTServer connection",
                                    "Failed to dump baseband state (domain=1, error=22)"}));
  connection->requestBasebandStateDump("everything");
  EXPECT_EQ(server.lastDump(), Value("everything"));
  requestAndTurn();
  EXPECT_EQ(reports, 2);

  // The tear-down comes in the middle of a delivery, with another message waiting.
  const auto closing = centre.observe(
      telephony::kStateDurationReport,
      [this](std::string_view, const Dictionary&) { connection->teardownConnection(); });
  connection->requestBasebandStateDurationReport();
  requestAndTurn();
  EXPECT_EQ(reports, 3);
}

TEST_F(TelephonyConnectionTest, FirmwareAndTraces) {
  EXPECT_EQ(connection->basebandFirmwareVersion(), "1.0.0");
  fail("copyFirmwareVersion");
  EXPECT_EQ(connection->basebandFirmwareVersion(), std::nullopt);

  for (const char* value : {"TRUE", "1", ""}) {
    server.setTraceProperty("Probecraft", "enabled", value);
    EXPECT_FALSE(connection->probecraftEnabled()) << value;
  }
  server.setTraceProperty("Probecraft", "enabled", "true");
  EXPECT_TRUE(connection->probecraftEnabled());
  EXPECT_FALSE(connection->heliantLoggingEnabled());
  fail("copyTraceProperty", 4);
  EXPECT_FALSE(connection->probecraftEnabled());
  EXPECT_EQ(takeSystemLog(), (Lines{"Unable to retrieve property enabled from telephony trace "
                                    "Heliant (domain=0, error=0)",
                                    "Unable to retrieve property enabled from telephony trace "
                                    "Probecraft (domain=1, error=4)"}));
}

TEST_F(TelephonyConnectionTest, LoggersShareAConnectionAndNeedOne) {
  const auto make = [this] {
    return ZVBasebandStateDurationLogger::loggerWithConnection(services(), centre, connection);
  };
  auto one = make();
  const auto other = make();
  connection.reset();
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(takeSystemLog(),
            Lines{"Error: ZVTelephonyConnectedLogger must be created with a valid connection"});
  attach(*one);
  attach(*other);
  one.reset();
  const auto entriesAfterReport = [&] {
    other->log();
    handset.runLoop().advance(0);
    return log.takeEntries().size();
  };
  EXPECT_EQ(entriesAfterReport(), 1U);
  other->deregisterForAllTelephonyNotifications();
  EXPECT_EQ(entriesAfterReport(), 0U);
  EXPECT_EQ(reports, 2);
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
// What the telephony services promise, on the simulated handset and with a mocked ModemManager.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/testing/ModemManager.h"

namespace zorva {
namespace {

using namespace telephony;
using Lines = std::vector<std::string>;

// Each world has a modem that is registered at home, and whose power is accounted for.
struct SimWorld {
  SimHandset handset;
  SimTelephony& telephony = handset.telephony();
  TelephonyNotifications& notifications = handset.telephonyNotifications();
  TelephonyServer& server = handset.telephonyServer();

  SimWorld() { telephony.setData({true, true, std::string(kDataIndicatorPrefix) + "LTE"}); }
  void setSignal() { telephony.setSignal({-51, 100, 5}); }
  void roam() {
    telephony.setNetwork({std::string(kRegistrationStatusPrefix) + "RegisteredRoaming", false});
  }
  void setOperator(const std::string& name) { telephony.setOperatorName(name); }
  void detachData() {
    telephony.setData({false, false, std::string(kDataIndicatorPrefix) + "None"});
  }
  void removeSim() { telephony.setSimStatus(std::string(kSimStatus) + "NotInserted"); }
  void setCall(int id, std::optional<CallStatus> status) {
    telephony.setCalls(
        {{id, status ? std::optional(static_cast<std::int32_t>(*status)) : std::nullopt}});
  }
  void setAirplaneMode(bool on) { telephony.setAirplaneMode(on); }
  void removeModem() {
    telephony.setSignal({});
    telephony.setSimStatus({});
    telephony.setNetwork({});
    telephony.setOperatorName({});
    telephony.setData({});
  }
  void removeServer() { handset.faults().fail("telephonyServer.createConnection"); }
  void deliver() { handset.runLoop().advance(0); }
};
struct LinuxWorld : LinuxTelephonyForTest {
  LinuxTelephony& telephony = telephony_;
  TelephonyNotifications& notifications = notifications_;
  TelephonyServer& server = server_;

  LinuxWorld() {
    private_.start();
    startService();
    act(std::string(kModem) + "\ncalls = {}");
    const std::string power = std::string(kDevice).substr(1) + "/power/";
    root_.write(power + "runtime_status", "active\n");
    root_.write(power + "runtime_active_time", "15000\n");
    root_.write(power + "runtime_suspended_time", "45000\n");
    deliver();
  }
  void setSignal() { act("modem.set('Modem', SignalQuality=(dbus.UInt32(100), True))"); }
  void roam() { act("modem.set('Modem.Modem3gpp', RegistrationState=dbus.UInt32(5))"); }
  void setOperator(const std::string& name) {
    act("modem.set('Modem.Modem3gpp', OperatorName='" + name + "')");
  }
  void detachData() {
    act("bearers[1].set('Bearer', Connected=False);"
        "modem.set('Modem.Modem3gpp', PacketServiceState=dbus.UInt32(1))");
  }
  void removeSim() { act("modem.set('Modem', Sim=dbus.ObjectPath('/'))"); }
  // The service numbers its calls in the order in which they come; its list has any order.
  void setCall(int id, std::optional<CallStatus> status) {
    const int state = !status ? 7 : *status == CallStatus::Ringing ? 3 : 4;
    const std::string properties = "State=dbus.Int32(" + std::to_string(state) + ")";
    act("i = " + std::to_string(id) + R"(
if i in calls:
    calls[i].set('Call', )" +
        properties + R"()
else:
    calls[i] = Object('/Call/%d' % i, {'Call': dict()" +
        properties + R"()})
    modem.set('Modem.Voice', Calls=paths(*['/Call/%d' % each for each in reversed(calls)])))");
  }
  void setAirplaneMode(bool on) {
    root_.write("rfkill/rfkill0/type", "wwan\n");
    root_.write("rfkill/rfkill0/soft", on ? "1\n" : "0\n");
  }
  void removeModem() { act("remove('/Modem/2')"); }
  void removeServer() { stopService(); }
  using LinuxTelephonyForTest::deliver;
};

template <typename World>
class TelephonyContract : public testing::Test {
 protected:
  // The names of what was posted; what came with it is what the library answers by then.
  void observe(const char* name) {
    observations.push_back(world.notifications.observe(
        name, [this](std::string_view posted, const Dictionary& information) {
          reported.emplace_back(posted);
          for (const auto& [key, value] : information) {
            EXPECT_EQ(value, library(key).value_or(value)) << key;
          }
        }));
  }
  std::optional<Value> library(const std::string& key) {
    const auto valueOf = [](const auto& known) { return known ? Value(*known) : Value(); };
    if (key == kRawSignalStrength) return Value(signal()[0]);
    if (key == kRegistrationStatus) return valueOf(world.telephony.registrationStatus());
    if (key == kOperatorName) return valueOf(world.telephony.copyOperatorName());
    if (key == kSimStatus) return valueOf(world.telephony.simStatus());
    if (key == kDataAttached) return Value(world.telephony.dataAttached());
    if (key == kDataActive) return Value(world.telephony.dataContextActive(0));
    if (key == kDataIndicator) return valueOf(world.telephony.dataIndicator());
    if (key == kInHomeCountry) return Value(false);  // in these tests, which leave home
    return std::nullopt;
  }
  std::vector<std::int32_t> signal() {
    std::vector<std::int32_t> values(3, 77);
    world.telephony.signalStrength(values[0], values[1], values[2]);
    return values;
  }
  Lines next() {
    world.deliver();
    return std::exchange(reported, {});
  }
  World world;
  Lines reported;
  std::vector<Registration> observations;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(TelephonyContract, Worlds);

TYPED_TEST(TelephonyContract, TheLibraryAnswersWhatNotificationsReported) {
  auto& device = this->world;
  auto& library = this->world.telephony;
  for (const char* name : {kSignalStrength, kRegistrationStatusChanged, kOperatorNameChanged,
                           kDataStatusChanged, kSimStatusChange}) {
    this->observe(name);
  }
  EXPECT_EQ(library.simStatus(), std::string(kSimStatus) + "Ready");
  EXPECT_TRUE(library.dataContextActive(0));
  EXPECT_FALSE(library.dataContextActive(1) || library.dataContextActive(-1));
  device.setSignal();
  EXPECT_EQ(this->next(), Lines{kSignalStrength});
  EXPECT_EQ(this->signal(), std::vector<std::int32_t>({-51, 100, 5}));
  device.roam();
  EXPECT_EQ(this->next(), Lines{kRegistrationStatusChanged});
  EXPECT_EQ(library.registrationStatus(),
            std::string(kRegistrationStatusPrefix) + "RegisteredRoaming");
  device.setOperator("Other");
  EXPECT_EQ(this->next(), Lines{kOperatorNameChanged});
  EXPECT_EQ(library.copyOperatorName(), "Other");
  device.detachData();
  EXPECT_EQ(this->next(), Lines{kDataStatusChanged});
  EXPECT_FALSE(library.dataAttached() || library.dataContextActive(0));
  EXPECT_EQ(library.dataIndicator(), std::string(kDataIndicatorPrefix) + "None");
  device.removeSim();
  EXPECT_EQ(this->next(), Lines{kSimStatusChange});
  for (const bool on : {true, false}) {
    device.setAirplaneMode(on);
    EXPECT_EQ(library.airplaneMode(), on) << "read anew, without any news";
  }

  device.removeModem();
  device.deliver();
  EXPECT_EQ(this->signal(), std::vector<std::int32_t>(3, 77)) << "left alone";
  EXPECT_EQ(library.currentCallCount(), 0);
  EXPECT_FALSE(library.simStatus() || library.registrationStatus() || library.dataIndicator() ||
               library.copyOperatorName() || library.dataAttached());
}

TYPED_TEST(TelephonyContract, CallsAreListedInTheOrderInWhichTheyCame) {
  auto& device = this->world;
  this->observe(kCallStatusChange);
  Registration own, other;
  own = device.notifications.observe(kCallStatusChange, [&](auto, const auto&) {
    this->reported.push_back("once");
    own.reset();
    other.reset();
  });
  other = device.notifications.observe(kCallStatusChange,
                                       [](auto, const auto&) { ADD_FAILURE() << "dropped"; });
  using Statuses = std::vector<CallStatus>;
  const auto set = [&](int id, std::optional<CallStatus> status) {
    device.setCall(id, status);
    device.deliver();
    Statuses statuses;
    const auto calls = device.telephony.copyCurrentCalls();
    if (!calls) return Statuses{CallStatus::Disconnected};
    for (const auto& call : *calls) statuses.push_back(static_cast<CallStatus>(call.status));
    EXPECT_EQ(device.telephony.currentCallCount(), static_cast<int>(statuses.size()));
    return statuses;
  };
  EXPECT_EQ(set(2, CallStatus::Active), Statuses({CallStatus::Active}));
  EXPECT_EQ(set(10, CallStatus::Ringing), Statuses({CallStatus::Active, CallStatus::Ringing}));
  EXPECT_EQ(set(10, CallStatus::Active), Statuses({CallStatus::Active, CallStatus::Active}));
  EXPECT_EQ(set(2, {}), Statuses({CallStatus::Active}));
  EXPECT_EQ(set(10, {}), Statuses());
  Lines expected(5, kCallStatusChange);
  expected.insert(expected.begin() + 1, "once");
  EXPECT_EQ(this->reported, expected);
}

TYPED_TEST(TelephonyContract, TheServerRepliesAtTheConnectionsPort) {
  TelephonyServer& server = this->world.server;
  std::optional<std::string> text;
  bool found = false;
  for (const ServerResult& refused :
       {server.setStateDurationReporting(nullptr, true), server.requestStateDurationReport(nullptr),
        server.dumpBasebandState(nullptr, {}), server.copyWakeCommand(nullptr, text),
        server.ratSelection(nullptr, text), server.copyFirmwareVersion(nullptr, text),
        server.copyTraceProperty(nullptr, "a", "b", text, found)}) {
    EXPECT_EQ(refused.domain, kNoServerConnection.domain);
    EXPECT_EQ(refused.error, kNoServerConnection.error);
  }
  EXPECT_FALSE(text || found);

  auto connection = server.createConnection({});
  auto other = server.createConnection({});
  ASSERT_TRUE(connection && other);
  EXPECT_EQ(server.ratSelection(connection.get(), text).error, 0);
  EXPECT_TRUE(text);
  const auto report = [&] {
    return server.requestStateDurationReport(connection.get()).error == 0;
  };
  EXPECT_FALSE(report()) << "before reporting is on";
  EXPECT_EQ(server.setStateDurationReporting(connection.get(), true).error, 0);
  EXPECT_NE(server.requestStateDurationReport(other.get()).error, 0) << "it is not the other's";
  const auto number = server.portOfConnection(*connection);
  EXPECT_EQ(server.makePort(number + 77, {}), nullptr);
  const auto port = server.makePort(number, [&](const auto& message) {
    this->reported.push_back("message");
    server.handleReply(message);
  });
  ASSERT_TRUE(port);
  const auto states = this->world.notifications.observe(
      kStateDurationReport, [&](auto, const Dictionary& information) {
        for (const auto& [name, milliseconds] : information) {
          EXPECT_TRUE(name.starts_with(kBasebandStatePrefix)) << name;
          if (name.ends_with(".Active")) this->reported.push_back(milliseconds.description());
        }
      });
  auto source = server.makeSource(*port);
  EXPECT_TRUE(report());
  EXPECT_EQ(this->next(), Lines()) << "before the source is on the loop";
  source->addToRunLoop();
  EXPECT_EQ(this->reported, Lines()) << "from inside the call";
  EXPECT_EQ(this->next(), Lines({"message", "15000"}));
  source.reset();
  EXPECT_TRUE(report());
  EXPECT_EQ(this->next(), Lines());
  server.setStateDurationReporting(connection.get(), false);
  EXPECT_FALSE(report());
  connection.reset();
  EXPECT_EQ(server.makePort(number, {}), nullptr) << "closed";
  this->world.removeServer();
  EXPECT_EQ(server.createConnection({}), nullptr);
}

}  // namespace
}  // namespace zorva

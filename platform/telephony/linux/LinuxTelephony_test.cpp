// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/LinuxTelephony.h"

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/telephony/linux/SignalPause.h"
#include "platform/testing/ModemManager.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

class LinuxTelephonyTest : public testing::Test, protected LinuxTelephonyForTest {
 protected:
  void SetUp() override {
    for (const char* name :
         {telephony::kDaemonRestart, telephony::kSignalStrength, telephony::kRadioBandChange,
          telephony::kCallStatusChange, telephony::kSimStatusChange, telephony::kCellChanged,
          telephony::kRegistrationStatusChanged, telephony::kDataStatusChanged,
          telephony::kOperatorNameChanged, telephony::kStateDurationReport}) {
      observations_.push_back(notifications_.observe(name, [this](auto reported, const auto& with) {
        std::string line(reported.substr(reported.find('.') + 1));
        for (const auto& [key, value] : with) line += " " + key + "=" + value.description();
        reported_.push_back(line);
      }));
    }
    observations_.push_back(client_.observeIncoming([this](auto incoming) {
      reported_.push_back(incoming == ModemManagerClient::Incoming::Call ? "INCOMING CALL"
                                                                         : "MESSAGE");
    }));
  }
  // What is told when there is a bus, the service and the modem.
  Lines startWithModem() {
    private_.start();
    startService();
    return reportedAfter(kModem);
  }
  // What is told when the service does this.
  Lines reportedAfter(const std::string& code) {
    act(code);
    return reportedNow();
  }
  Lines reportedNow() {
    deliver();
    return std::exchange(reported_, {});
  }
  std::string signal() {
    std::int32_t raw = -1, graded = -1, bars = -1;
    telephony_.signalStrength(raw, graded, bars);
    return std::to_string(raw) + " " + std::to_string(graded) + " " + std::to_string(bars);
  }
  std::string calls() {
    std::string all = std::to_string(telephony_.currentCallCount()) + ":";
    const auto list = telephony_.copyCurrentCalls();
    if (!list) return all + " none";
    for (const auto& call : *list) all += " " + std::to_string(call.status);
    return all;
  }

  Lines reported_;
  std::vector<Registration> observations_;
};

TEST_F(LinuxTelephonyTest, TellsOfTheModemAndWhateverBecomesOfIt) {
  EXPECT_EQ(startWithModem(),
            Lines({"sim-status-change sim-status.=sim-status.Ready", "radio-band-change",
                   "signal-strength raw-signal-strength=-82",
                   "registration-status-changed "
                   "registration-status=network-registration.RegisteredHome in-home-country=1",
                   "operator-name-changed operator-name=Home",
                   "cell-changed cell-id=42 location-area-code=31",
                   "data-status-changed data-attached=1 data-active=1 "
                   "data-indicator=packet-data.radio-indicator.LTE"}));
  EXPECT_EQ(client_.modem().firmware, "81600.0000\\x0a00");
  EXPECT_EQ(client_.modemDevices(), Lines({kDevice}));
  EXPECT_EQ(client_.enabledLocationSources(), 0x14u);

  // Another modem counts when it stands before this one; 10 stands after 2.
  EXPECT_EQ(reportedAfter("other = add('/Modem/10', Modem=dict(Ports=[('wwan7', dbus.UInt32(2))]),"
                          " Modem_Location=dict(Enabled=dbus.UInt32(8)))"),
            Lines());
  EXPECT_EQ(client_.mobileInterfaces(), Lines({"wwan0"}));
  EXPECT_EQ(client_.enabledLocationSources(), 0x1Cu);
  // Another network, in one go.
  EXPECT_EQ(reportedAfter("modem.set('Modem.Modem3gpp', RegistrationState=dbus.UInt32(5));"
                          "modem.set('Modem.Modem3gpp', OperatorName='A\\nway');"
                          "modem.set('Modem', AccessTechnologies=dbus.UInt32(1 << 5))"),
            Lines({"radio-band-change",
                   "registration-status-changed "
                   "registration-status=network-registration.RegisteredRoaming in-home-country=0",
                   "operator-name-changed operator-name=A\\x0away",
                   "data-status-changed data-attached=1 data-active=1 "
                   "data-indicator=packet-data.radio-indicator.3G"}));
  EXPECT_EQ(reportedAfter("bearers[1].set('Bearer', Connected=False);"
                          "modem.set('Modem.Modem3gpp', PacketServiceState=dbus.UInt32(1))"),
            Lines({"data-status-changed data-attached=0 data-active=0 "
                   "data-indicator=packet-data.radio-indicator.None"}));
  EXPECT_EQ(client_.mobileInterfaces(), Lines({"wwan0", "wwan7"}));
  EXPECT_EQ(reportedAfter("modem.set('Modem', Sim=dbus.ObjectPath('/'));"
                          "modem.set('Modem.Modem3gpp', RegistrationState=dbus.UInt32(0))"),
            Lines({"sim-status-change sim-status.=sim-status.NotInserted",
                   "registration-status-changed "
                   "registration-status=network-registration.NotRegistered"}));
  EXPECT_EQ(reportedAfter("modem.set('Modem', OwnNumbers=['+49'])"), Lines());

  // Unplugged: the other one takes its place, as far as it tells anything.
  EXPECT_EQ(reportedAfter("remove('/Modem/2')"),
            Lines({"radio-band-change", "registration-status-changed", "operator-name-changed",
                   "cell-changed"}));
  EXPECT_EQ(reportedAfter("remove('/Modem/10')").size(), 3u);
}

TEST_F(LinuxTelephonyTest, FollowsCalls) {
  startWithModem();
  const Lines changed{"call-status-change"}, incoming{"call-status-change", "INCOMING CALL"};
  const struct {
    const char* code;
    Lines reported;
    const char* calls;
  } steps[] = {
      {"call = Object('/Call/0', {'Call': dict(State=dbus.Int32(3), Number='+49')});"
       "modem.set('Modem.Voice', Calls=paths('/Call/0'))",
       incoming, "1: 4"},
      {"call.set('Call', State=dbus.Int32(4))", changed, "1: 1"},
      {"second = Object('/Call/1', {'Call': dict(State=dbus.Int32(6))});"
       "modem.set('Modem.Voice', Calls=paths('/Call/0', '/Call/1', '/Call/9'))",
       incoming, "2: 1 4"},
      {"call.set('Call', State=dbus.Int32(5)); second.set('Call', State=dbus.Int32(4))", changed,
       "2: 2 1"},
      // A call that has ended is none, though the service keeps it.
      {"second.set('Call', State=dbus.Int32(7))", changed, "1: 2"},
      {"call.set('Call', State=dbus.Int32(7)); modem.set('Modem.Voice', Calls=paths())", changed,
       "0:"},
      {"modem.Added(ROOT + '/SMS/0', False); modem.Added(ROOT + '/SMS/1', True)",
       {"MESSAGE"},
       "0:"},
  };
  for (const auto& step : steps) {
    EXPECT_EQ(reportedAfter(step.code), step.reported) << step.code;
    EXPECT_EQ(calls(), step.calls) << step.code;
  }
}

TEST_F(LinuxTelephonyTest, FollowsTheSignal) {
  startWithModem();
  EXPECT_EQ(reportedNow(), Lines());  // the modem was asked for changes
  const std::string is = "assert modem.properties[full('Modem.Signal')]['RssiThreshold'] == ";
  EXPECT_EQ(reportedAfter(is + "2"), Lines());
  EXPECT_EQ(signal(), "-82 50 3");
  const auto measured = [&](const std::string& lte) {
    return reportedAfter(
        "modem.set('Modem.Signal', Lte=dbus.Dictionary({'rssi': " + lte +
        "}, signature='sv'), Umts=dbus.Dictionary({'rssi': -3.0}, signature='sv'))");
  };
  EXPECT_EQ(measured("-71.4, 'rsrp': -99.0"), Lines({"signal-strength raw-signal-strength=-71"}));
  // What is no measurement is not taken for one, and the same strength is no news.
  EXPECT_EQ(measured("0.0, 'rsrp': -71.0"), Lines());
  EXPECT_EQ(measured("-32768.0"), Lines({"signal-strength raw-signal-strength=-82"}));
  EXPECT_EQ(reportedAfter("modem.set('Modem', SignalQuality=(dbus.UInt32(100), True))"),
            Lines({"signal-strength raw-signal-strength=-51"}));
  EXPECT_EQ(signal(), "-51 100 5");
  // 0 % is no measurement by itself: ModemManager sets it when a registration ends.
  reportedAfter("modem.set('Modem', SignalQuality=(dbus.UInt32(0), True))");
  EXPECT_EQ(signal(), "-1 -1 -1");
  measured("-112.0");
  EXPECT_EQ(signal(), "-112 0 0");
  // What was asked for is taken back at the end, unless somebody wants something else by then.
  for (const char* atTheEnd : {"0", "5"}) {
    reportedAfter("modem.set('Modem.Signal', RssiThreshold=dbus.UInt32(0))");
    auto other = std::make_unique<ModemManagerClient>(loop_.event(), bus_);
    reportedNow();
    reportedAfter(is + "2");
    if (*atTheEnd == '5') reportedAfter("modem.set('Modem.Signal', RssiThreshold=dbus.UInt32(5))");
    other.reset();
    reportedAfter(is + atTheEnd);
  }
  // Also by one that ends before the modem has answered it.
  reportedAfter("modem.set('Modem.Signal', RssiThreshold=dbus.UInt32(0))");
  ModemManagerClient(loop_.event(), bus_).modem();
  reportedAfter(is + "0");
  // Switched off.
  EXPECT_FALSE(telephony_.airplaneMode());
  EXPECT_EQ(reportedAfter("modem.set('Modem', State=dbus.Int32(3), PowerState=dbus.UInt32(2))"),
            Lines({"radio-band-change"}));
  EXPECT_EQ(signal(), "-1 -1 -1");
  EXPECT_TRUE(telephony_.airplaneMode());
  // And on: what it was asked for it has forgotten, and is not asked for while it is off.
  reportedAfter("modem.set('Modem.Signal', RssiThreshold=dbus.UInt32(0))");
  reportedAfter(is + "0");
  reportedAfter("modem.set('Modem', State=dbus.Int32(8), PowerState=dbus.UInt32(3))");
  reportedAfter(is + "2");
}

TEST_F(LinuxTelephonyTest, LetsNoSignalWakeTheDevice) {
  SimHandset handset;
  SimSystemPower& power = handset.systemPower();
  Lines operations;
  power.setWitness([&](const std::string& operation) { operations.push_back(operation); });
  const auto operationsAfter = [&](PowerMessage message) {
    power.send(static_cast<std::uint32_t>(message));
    return std::exchange(operations, {});
  };
  std::optional<SignalPause> pause(std::in_place, loop_.event(), power, client_, 3'600'000'000);
  EXPECT_EQ(operationsAfter(PowerMessage::WillSleep), Lines()) << "no modem, no part in it";
  startWithModem();
  reportedNow();
  const std::string is = "assert modem.properties[full('Modem.Signal')]['RssiThreshold'] == ";
  for (const auto ending : {PowerMessage::HasPoweredOn, PowerMessage::WillNotSleep}) {
    reportedAfter(is + "2");
    EXPECT_EQ(operationsAfter(PowerMessage::WillSleep), Lines()) << "waits for the modem";
    loop_.runUntil([&] { return !operations.empty(); });
    EXPECT_EQ(operations.size(), 1u);
    reportedAfter(is + "0");
    reportedAfter("modem.set('Modem', SignalQuality=(dbus.UInt32(51), True))");
    reportedAfter(is + "0");
    operationsAfter(ending);
    reportedNow();
  }
  // Called off before the modem has answered.
  operationsAfter(PowerMessage::WillSleep);
  operationsAfter(PowerMessage::WillNotSleep);
  reportedNow();
  reportedAfter(is + "2");
  // A modem that does not respond holds nothing up for long.
  reportedAfter("Object.set, answers = lambda *a, **b: None, Object.set");
  pause.emplace(loop_.event(), power, client_, 1000);
  operations.clear();
  EXPECT_EQ(operationsAfter(PowerMessage::WillSleep), Lines());
  loop_.runUntil([&] { return !operations.empty(); });
  operationsAfter(PowerMessage::HasPoweredOn);
  // Nor is it forgotten what it was asked for.
  reportedAfter("Object.set = answers");
  operationsAfter(PowerMessage::WillSleep);
  reportedNow();
  reportedAfter(is + "0");
  operationsAfter(PowerMessage::HasPoweredOn);
  reportedNow();
  // Another client's threshold is left alone.
  reportedAfter("modem.set('Modem.Signal', RssiThreshold=dbus.UInt32(5))");
  EXPECT_EQ(operationsAfter(PowerMessage::WillSleep).size(), 1u) << "at once";
  reportedAfter(is + "5");
}

TEST_F(LinuxTelephonyTest, KnowsAirplaneModeByTheSwitches) {
  EXPECT_FALSE(telephony_.airplaneMode());
  const auto set = [&](const std::string& name, const char* type, const char* soft,
                       const char* hard) {
    root_.write("rfkill/" + name + "/type", type);
    root_.write("rfkill/" + name + "/soft", soft);
    root_.write("rfkill/" + name + "/hard", hard);
    return telephony_.airplaneMode();
  };
  EXPECT_TRUE(set("rfkill0", "wlan\n", "1\n", "0\n"));
  EXPECT_FALSE(set("rfkill1", "bluetooth\n", "0\n", "0\n"));
  EXPECT_TRUE(set("rfkill2", "wwan\n", "0\n", "1\n"));
  EXPECT_FALSE(set("rfkill3", "wwan\n", "0\n", "0\n"));
}

TEST_F(LinuxTelephonyTest, LivesThroughRestartsOfTheService) {
  EXPECT_EQ(startWithModem().size(), 7u);
  stopService();
  EXPECT_EQ(telephony_.simStatus(), std::nullopt);
  EXPECT_EQ(reportedNow().size(), 6u);
  startService();
  EXPECT_EQ(reportedNow(), Lines({"daemon-restart"}));
  EXPECT_EQ(reportedAfter(kModem).size(), 7u);
  // From one owner of the name to the next, without a moment in between.
  const auto old = std::move(service_);
  startService();
  loop_.runUntil([&] { return !reported_.empty(); });
  EXPECT_EQ(reported_.front(), "daemon-restart");
  EXPECT_EQ(reportedNow().size(), 7u);
  EXPECT_EQ(client_.modem().path, "");
}

TEST_F(LinuxTelephonyTest, AsksAServiceThatFailedAgainWhenItShowsLife) {
  startWithModem();
  reportedAfter("modems, manager.modems = manager.modems, None");  // it cannot list them
  const ModemManagerClient late(loop_.event(), bus_);
  EXPECT_TRUE(late.running());
  EXPECT_EQ(late.modem().path, "");
  reportedAfter("manager.modems = modems; modem.set('Modem', Revision='3')");
  EXPECT_EQ(late.modem().firmware, "3");
}

TEST_F(LinuxTelephonyTest, ServesItsConnections) {
  private_.start();
  startService();
  const auto connection = server_.createConnection({});
  ASSERT_NE(connection, nullptr);
  std::optional<std::string> text;
  bool found = true;
  const auto answer = [&](auto question) {
    text.reset();
    return (server_.*question)(connection.get(), text).error == 0 ? text : "an error";
  };
  EXPECT_EQ(answer(&LinuxTelephonyServer::ratSelection), "an error");
  reportedAfter(kModem);
  EXPECT_EQ(answer(&LinuxTelephonyServer::ratSelection), "LTE");
  EXPECT_EQ(answer(&LinuxTelephonyServer::copyFirmwareVersion), "81600.0000\\x0a00");
  EXPECT_EQ(answer(&LinuxTelephonyServer::copyWakeCommand), "an error");
  server_.setWakeText([] { return "RING"; });
  EXPECT_EQ(answer(&LinuxTelephonyServer::copyWakeCommand), "RING");
  server_.copyTraceProperty(connection.get(), "a", "b", text, found);
  EXPECT_FALSE(found);
  EXPECT_NE(server_.dumpBasebandState(connection.get(), {}).error, 0);

  const auto report = [&] {
    return server_.requestStateDurationReport(connection.get()).error == 0;
  };
  const std::string power = std::string(kDevice).substr(1) + "/power/";
  server_.setStateDurationReporting(connection.get(), true);
  root_.write(power + "runtime_status", "unsupported\n");
  root_.write(power + "runtime_active_time", "1200\n");
  root_.write(power + "runtime_suspended_time", "2147483648\n");  // a month
  EXPECT_FALSE(report()) << "without an account";
  root_.write(power + "runtime_status", "suspended\n");
  EXPECT_TRUE(report());
  std::unique_ptr<TelephonyServer::Source> source;
  auto port = server_.makePort(server_.portOfConnection(*connection), [&](const auto& message) {
    server_.handleReply(message);
    source.reset();  // as when the connection is torn down in the middle
  });
  EXPECT_TRUE(report());
  const Lines reported{
      "state-duration-report modem.power-state-residency.Active=1200 "
      "modem.power-state-residency.Suspended=2147483647"};
  for (int left = 2; left >= 0; --left) {
    source = server_.makeSource(*port);
    source->addToRunLoop();
    EXPECT_EQ(reportedNow(), left > 0 ? reported : Lines());
  }
}

}  // namespace
}  // namespace zorva

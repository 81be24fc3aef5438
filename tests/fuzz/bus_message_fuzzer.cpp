// SPDX-License-Identifier: Apache-2.0
// Services on the bus may send anything that the bus carries. For any messages in any order, the
// values read from them are in range, and the texts can be shown.
//
// An input provides the replies to the clients' calls and the signals that follow: their types,
// texts and numbers. The clients are the real ones. The LinuxBus is the one below, which reads the
// input.

#include <bit>
#include <cstdint>
#include <iterator>
#include <set>
#include <sys/socket.h>

#include "platform/assertions/linux/LinuxPowerManagement.h"
#include "platform/base/Text.h"
#include "platform/bluetooth/linux/BluezObjects.h"
#include "platform/bluetooth/linux/LinuxBluetoothServer.h"
#include "platform/location/linux/LinuxLocationService.h"
#include "platform/loop/linux/LinuxClock.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"
#include "platform/sleep/linux/LinuxSystemPower.h"
#include "platform/system/SystemLog.h"
#include "platform/system/linux/LinuxProfileSettings.h"
#include "platform/telephony/linux/LinuxTelephony.h"
#include "platform/telephony/linux/LinuxTelephonyNotifications.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

const std::uint8_t *sAt, *sEnd;
std::uint8_t next() {
  return sAt < sEnd ? *sAt++ : 0;
}

// Words that the clients search for, each after a blank.
constexpr std::string_view kWords =
    " org.freedesktop.ModemManager1.Modem org.freedesktop.ModemManager1.Modem.Modem3gpp"
    " org.freedesktop.ModemManager1.Modem.Signal org.freedesktop.ModemManager1.Modem.Location"
    " org.freedesktop.ModemManager1.Modem.Voice org.freedesktop.ModemManager1.Bearer"
    " org.freedesktop.ModemManager1.Call org.bluez.Adapter1 org.bluez.Device1"
    " AccessTechnologies SignalQuality State StateFailedReason PowerState UnlockRequired Revision"
    " Device Physdev Ports Bearers Sim RegistrationState OperatorName PacketServiceState Rate"
    " RssiThreshold Gsm Lte rssi rsrp Location Enabled Calls Connected Interface Powered"
    " Discoverable Connectable WakeSystem NextElapseUSecRealtime NextElapseUSecMonotonic"
    " BlockInhibited /sys/devices/modem 310,260,FFFE,2B,3C sleep:idle block poweroff suspend";
constexpr const char* kPaths[] = {"/org/freedesktop/ModemManager1/Modem/0",
                                  "/org/freedesktop/ModemManager1/Modem/1",
                                  "/org/freedesktop/ModemManager1/Bearer/1",
                                  "/org/freedesktop/ModemManager1/Call/2",
                                  "/org/bluez/hci0",
                                  "/org/bluez/hci0/dev_1",
                                  "/"};
constexpr const char* kTypes[] = {"b",  "s",  "u",    "i",     "t",     "d",        "o",
                                  "ao", "as", "(ub)", "a(su)", "a{sv}", "a{uv}",    "(st)",
                                  "y",  "n",  "x",    "v",     "g",     "a(ssssuu)"};

std::string word() {
  const std::uint8_t chosen = next();
  std::size_t at = 0;
  for (int i = 0; i < chosen && at != kWords.npos; ++i) at = kWords.find(' ', at + 1);
  if (at != kWords.npos)
    return std::string(kWords.substr(at + 1, kWords.find(' ', at + 1) - at - 1));
  std::string text;
  for (int length = chosen % 8; length > 0; --length) text += static_cast<char>(next());
  return text.c_str();
}

std::size_t lengthOfFirst(std::string_view types) {
  if (types[0] == 'a') return 1 + lengthOfFirst(types.substr(1));
  if (types[0] != '(' && types[0] != '{') return 1;
  std::size_t end = 1;
  while (types[end] != ')' && types[end] != '}') end += lengthOfFirst(types.substr(end));
  return end + 1;
}

// Appends a value of each type in the signature.
void append(sd_bus_message* message, std::string_view types, int depth = 0) {
  const auto contain = [&](char type, const std::string& contents, int times) {
    sd_bus_message_open_container(message, type, contents.c_str());
    for (; times > 0; --times) append(message, contents, depth + 1);
    sd_bus_message_close_container(message);
  };
  for (std::size_t length; !types.empty(); types.remove_prefix(length)) {
    length = lengthOfFirst(types);
    std::uint64_t number = 0;
    switch (const char type = types.front()) {
      case 'a':
        contain(type, std::string(types.substr(1, length - 1)), sAt < sEnd ? next() % 4 : 0);
        break;
      case '(':
      case '{':
        contain(type == '(' ? 'r' : 'e', std::string(types.substr(1, length - 2)), 1);
        break;
      case 'v':
        contain(type, sAt < sEnd && depth < 8 ? kTypes[next() % std::size(kTypes)] : "b", 1);
        break;
      case 's':
        // The bus carries only UTF-8.
        if (sd_bus_message_append_basic(message, type, word().c_str()) < 0) {
          sd_bus_message_append_basic(message, type, "\x1b\u202e");
        }
        break;
      case 'o':
        sd_bus_message_append_basic(message, type, kPaths[next() % std::size(kPaths)]);
        break;
      case 'P':  // a property of PowerDevil
        contain('v', "a(ssssu)", 1);
        break;
      case 'g':
        sd_bus_message_append_basic(message, type, "a{sv}");
        break;
      default:
        number = next();
        if (number >= 0xF0) {
          for (int i = 0; i < 8; ++i) number = number << 8 | next();
        } else if (type == 'd') {
          number = std::bit_cast<std::uint64_t>(-static_cast<double>(number));
        }
        if (type == 'b') number &= 1;
        sd_bus_message_append_basic(message, type, &number);
    }
  }
}

BusMessage makeMessage(const char* types) {
  static sd_bus* const wire = [] {  // a connection that is never established
    sd_bus* bus = nullptr;
    int sockets[2];
    REQUIRE(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) == 0);
    REQUIRE(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, sockets[0], sockets[0]) >= 0);
    REQUIRE(sd_bus_start(bus) >= 0);
    return bus;
  }();
  sd_bus_message* message = nullptr;
  const char* const path = kPaths[next() % std::size(kPaths)];
  REQUIRE(sd_bus_message_new_signal(wire, &message, path, "a.b", "C") >= 0);
  sd_bus_message_set_sender(message, next() % 2 == 0 ? ":1.1" : ":1.2");
  append(message, next() % 16 == 15 ? kTypes[next() % std::size(kTypes)] : types);
  REQUIRE(sd_bus_message_seal(message, 1, 0) >= 0 && sd_bus_message_rewind(message, 1) >= 0);
  return BusMessage(message);
}

const char* typesOf(std::string_view member) {
  constexpr std::pair<std::string_view, const char*> kMembers[] = {
      {"GetManagedObjects", "a{oa{sa{sv}}}"},
      {"GetAll", "a{sv}"},
      {"ListInhibitors", "a(ssssuu)"},
      {"ListUnitsByPatterns", "a(ssssssouso)"},
      {"InterfacesAdded", "oa{sa{sv}}"},
      {"InterfacesRemoved", "oas"},
      {"PropertiesChanged", "sa{sv}as"},
      {"Added", "ob"},
      {"PrepareForSleep", "b"},
      {"GetInhibitors", "ao"},
      {"GetAppId", "s"},
      {"GetReason", "s"},
      {"GetFlags", "u"},
      {"GetConnectionUnixProcessID", "u"},
      {"ListInhibitions", "a(ss)"},
      {"NameOwnerChanged", "sss"}};
  for (const auto& [name, types] : kMembers) {
    if (member == name) return types;
  }
  return "v";
}

std::vector<std::pair<std::string, LinuxBus::SignalHandler>> sMatches;  // by the signal's name
// What awaits an answer, by the method's name; nothing where it is not awaited any more.
std::vector<std::pair<std::string, std::shared_ptr<LinuxBus::Answered>>> sQuestions;

}  // namespace

struct LinuxBus::Subscriptions {};

LinuxBus::LinuxBus(sd_event* event, std::string, std::chrono::microseconds,
                   std::chrono::microseconds)
    : event_(event), ended_(event, [] {}) {}
LinuxBus::LinuxBus(sd_event* event, User, const std::string&, std::chrono::microseconds,
                   std::chrono::microseconds)
    : event_(event), ended_(event, [] {}) {}
LinuxBus::~LinuxBus() {
  sMatches.clear();
  sQuestions.clear();
}
bool LinuxBus::connecting() const {
  return false;
}
void LinuxBus::settle(std::span<LinuxBus* const>, const std::function<bool()>&,
                      std::chrono::microseconds) {}
void LinuxBus::leaveMatches() {}
Registration LinuxBus::ask(const char*, const char*, const char*, const char* member,
                           Answered answered, const Arguments&) {
  const auto question = std::make_shared<Answered>(std::move(answered));
  sQuestions.emplace_back(member, question);
  return Registration([question] { *question = nullptr; });
}
std::string LinuxBus::systemAddress() {
  return {};
}
bool LinuxBus::connected() const {
  return true;
}
LinuxBus::Reply answerTo(const char* types) {
  const std::uint8_t outcome = next();
  if (outcome >= 0xF0) {
    return {outcome % 2 ? LinuxBus::Outcome::Absent : LinuxBus::Outcome::Failed, nullptr};
  }
  return {LinuxBus::Outcome::Answered, makeMessage(types)};
}
LinuxBus::Reply LinuxBus::call(const char*, const char*, const char*, const char* member,
                               const Arguments&) {
  return answerTo(typesOf(member));
}
void answerQuestions() {
  for (int limit = 64; limit > 0 && !sQuestions.empty(); --limit) {
    const auto [member, question] = sQuestions.front();
    sQuestions.erase(sQuestions.begin());
    const LinuxBus::Answered answered = *question;
    if (answered) answered(answerTo(member == "Get" ? "P" : typesOf(member)));
  }
}
void LinuxBus::send(const char*, const char*, const char*, const char*, const Arguments&) {}
Registration LinuxBus::observeConnection(std::function<void()> changed) {
  return observers_.add(std::move(changed));
}
Registration LinuxBus::observeSignals(std::string rule, SignalHandler handler) {
  const std::string member = rule.substr(rule.find("member='") + 8);
  sMatches.emplace_back(member.substr(0, member.find('\'')), std::move(handler));
  return {};
}
Registration LinuxBus::observeService(const std::string&, std::function<void()> changed) {
  return observeSignals("member='NameOwnerChanged'", [changed](sd_bus_message*) { changed(); });
}

namespace {

struct Log : SystemLog {
  void write(std::string_view) override {}
};

bool isShown(const std::optional<std::string>& text) {
  return !text || safeText(*text) == *text;
}

struct Clients {
  Clients() : bus(loop.event()) {}
  virtual ~Clients() = default;
  virtual void check() = 0;

  static inline LinuxRunLoop loop;
  static inline LinuxClock clock;
  static inline Log log;
  LinuxBus bus;
};

struct ModemClients : Clients {
  void check() override {
    const ModemRecord& modem = modems.modem();
    REQUIRE(isShown(modem.operatorName) && isShown(modem.firmware) && isShown(modem.technology));
    REQUIRE(isShown(modem.simStatus) && isShown(modem.registrationStatus));
    REQUIRE(!modem.signal || (*modem.signal <= 0 && *modem.signal >= -200));
    REQUIRE(modem.quality.value_or(0) >= 0 && modem.quality.value_or(0) <= 100);
    REQUIRE(modem.cell.value_or(0) >= 0 && modem.area.value_or(0) >= 0);
    std::int32_t raw = 0, graded = 0, bars = 0;
    telephony.signalStrength(raw, graded, bars);
    REQUIRE(bars >= 0 && bars <= 5 && modem.dataContexts >= 0);
    REQUIRE(telephony.currentCallCount() == std::ssize(modem.calls));
  }

  LinuxSystemNotifications notifications{loop, log, {}};
  ModemManagerClient modems{loop.event(), bus};
  LinuxTelephonyNotifications telephonyNotifications{modems};
  LinuxTelephony telephony{modems, "/nowhere"};
  LinuxLocationService location{
      loop.event(),
      bus,
      {[this] { return modems.enabledLocationSources(); },
       [this](std::function<void()> changed) { return modems.observe(std::move(changed)); }},
      notifications};
};

struct BluetoothClients : Clients {
  BluetoothClients() {
    bluetooth.attachSession(
        "fuzzer", [this](auto given, auto...) { session = given; }, callbacks);
  }
  void check() override {
    BluetoothServer::Device device = 0;
    std::uint32_t powered = 0, connected = 0;
    if (bluetooth.defaultLocalDevice(session, device) != 0) return;
    REQUIRE(bluetooth.modulePower(device, BluetoothServer::Module::Controller, powered) == 0);
    REQUIRE(bluetooth.connectionStatus(device, connected) == 0 &&
            (connected == 0 || connected == BluetoothServer::kStateOn));
  }

  LinuxBluetoothServer bluetooth{loop.event(), bus};
  BluetoothServer::Session session = 0;
  Registration callbacks;
};

struct PowerClients : Clients {
  void check() override {
    for (const auto& each : power.copyAssertionsByProcess().value_or(Assertions())) {
      for (const Dictionary& record : each.records) {
        REQUIRE(record["AssertStartWhen"].date() && record["AssertName"].text());
        REQUIRE(record["AssertPID"].integer32() == each.pid);
      }
    }
    Date last = Date::min();
    for (const Dictionary& event : scheduled.copyScheduledPowerEvents().value_or(Events())) {
      const std::string type = event["eventtype"].text().value_or("");
      REQUIRE(type == "wake" || type == "shutdown" || type == "restart");
      REQUIRE(event["time"].date() && *event["time"].date() >= last);
      last = *event["time"].date();
    }
    REQUIRE(profile.effectiveValue(kAutoLockTime).integer() >= 0);
    kde.findMirrors({});
    for (const SessionService* each :
         {static_cast<SessionService*>(&gnome), static_cast<SessionService*>(&kde)}) {
      std::set<std::string> keys;
      REQUIRE(each->inhibitors().size() <= SessionService::kMaxInhibitors);
      for (const SessionInhibitor& inhibitor : each->inhibitors()) {
        REQUIRE(inhibitor.lock.who.size() <= SessionService::kMaxText);
        REQUIRE(inhibitor.lock.why.size() <= SessionService::kMaxText);
        REQUIRE(inhibitor.lock.what.size() <= SessionService::kMaxText);
        REQUIRE(keys.insert(inhibitor.key).second);
      }
    }
  }

  using Assertions = std::vector<PowerManagement::ProcessAssertions>;
  using Events = std::vector<Dictionary>;
  LinuxPowerManagement power{loop.event(), bus, clock, [] {}, "/nowhere", "/nowhere"};
  LinuxScheduledPowerEvents scheduled{bus, clock, "/nowhere"};
  LinuxProfileSettings profile{bus};
  LinuxSystemPower systemPower{loop.event(), bus};
  GnomeSessionManager gnome{{loop.event(), bus, 0, clock, [] {}, {}}};
  KdePolicyAgent kde{{loop.event(), bus, 0, clock, [] {}, {}}};
};

std::unique_ptr<Clients> chooseClients() {
  const std::uint8_t chosen = next() % 3;
  if (chosen == 0) return std::make_unique<ModemClients>();
  if (chosen == 1) return std::make_unique<BluetoothClients>();
  return std::make_unique<PowerClients>();
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  sAt = data;
  sEnd = data + size;
  const auto clients = chooseClients();
  do {
    clients->check();
    for (int signals = next() % 4; signals >= 0; --signals) {
      const auto& [member, handler] = sMatches[next() % sMatches.size()];
      handler(makeMessage(typesOf(member)).get());
      answerQuestions();
    }
    while (sd_event_run(Clients::loop.event(), 0) > 0) {
    }
  } while (sAt < sEnd);
  return 0;
}

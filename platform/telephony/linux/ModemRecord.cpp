// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/ModemRecord.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "platform/base/Text.h"
#include "platform/telephony/TelephonyNotifications.h"
#include "platform/telephony/TelephonyServer.h"

namespace zorva {
namespace {

// The service's numbers (ModemManager-enums.h documents them).
constexpr std::uint32_t kPots = 1 << 0, kGsm = 1 << 1, kGsmCompact = 1 << 2, kGprs = 1 << 3,
                        kEdge = 1 << 4, kUmts = 1 << 5, kHspa = 7 << 6, kHspaPlus = 1 << 9,
                        k1xRtt = 1 << 10, kEvdo = 7 << 11, kLte = 1 << 14, k5gNr = 1 << 15;
constexpr std::uint32_t kAnyTechnology = 0xFFFFFFFF;
constexpr std::int32_t kStateEnabled = 6, kStateConnected = 11;
constexpr std::uint32_t kPowerOff = 1, kPowerLow = 2;
constexpr std::uint32_t kPortNet = 2;
constexpr std::uint32_t kPacketServiceUnknown = 0, kPacketServiceAttached = 2;
constexpr std::int64_t kCallRinging = 3, kCallWaiting = 6;
constexpr std::uint32_t kLockNone = 1, kLockPin = 2, kLockPin2 = 3, kLockPuk = 4, kLockPuk2 = 5;
constexpr std::uint32_t kSimMissing = 2, kSimError = 3, kNoProfile = 5;

struct TechnologyWords {
  std::uint32_t technologies;
  const char* technology;
  const char* indicator;
  const char* signal;  ///< whose strength is measured by this property of the Signal interface
};
// From the newest to the oldest. A modem on 5G that keeps an LTE anchor has both.
constexpr TechnologyWords kTechnologies[] = {
    {k5gNr, "5G", "5G", "Nr5g"},
    {kLte, "LTE", "LTE", "Lte"},
    {kHspaPlus, rat::kUTRAN, "HSPA+", "Umts"},
    {kHspa, rat::kUTRAN, "HSPA", "Umts"},
    {kUmts, rat::kUTRAN, "3G", "Umts"},
    {kEvdo, "EVDO", "EVDO", "Evdo"},
    {k1xRtt, "1xRTT", "1xRTT", "Cdma"},
    {kEdge, rat::kGSM, "EDGE", "Gsm"},
    {kGprs, rat::kGSM, "GPRS", "Gsm"},
    {kGsm, rat::kGSM, "None", "Gsm"},
    {kGsmCompact, rat::kGSMCompact, "None", "Gsm"},
    {kPots, "POTS", "None", ""},
};

const TechnologyWords* wordsOf(std::uint32_t technologies) {
  if (technologies == kAnyTechnology) return nullptr;  // the service does not know
  for (const TechnologyWords& words : kTechnologies) {
    if (technologies & words.technologies) return &words;
  }
  return nullptr;
}

// What the Signal interface measured, or nothing while it does not.
std::optional<std::int32_t> measuredSignal(const ModemObjects& objects, const std::string& path,
                                           std::uint32_t technologies) {
  const auto measured = [&](const char* technology) -> std::optional<std::int32_t> {
    const Dictionary* values = property(objects, path, mm::kSignal, technology).dictionary();
    if (!values) return std::nullopt;
    for (const char* key : {"rssi", "rsrp"}) {
      const double strength = (*values)[key].real();
      // Values that the modem does not know come as 0 or as a number far off.
      if (strength < 0 && strength > -200) return static_cast<std::int32_t>(std::lround(strength));
    }
    return std::nullopt;
  };
  for (const TechnologyWords& words : kTechnologies) {
    if (!(technologies & words.technologies)) continue;
    if (const auto strength = measured(words.signal)) return strength;
  }
  return std::nullopt;
}

std::optional<std::string> textUnlessEmpty(const Value& value) {
  const auto text = value.text();
  return text && !text->empty() ? std::optional(safeText(*text)) : std::nullopt;
}

std::uint32_t number(const Value& value) {
  return static_cast<std::uint32_t>(value.integer());
}

bool isModem(const ModemProperties& properties) {
  return properties.count(mm::kModem) > 0;
}

std::optional<std::string> deviceOf(const ModemObjects& objects, const std::string& path) {
  // Newer services may give the device an assigned name, and its place apart.
  for (const char* name : {"Physdev", "Device"}) {
    auto text = property(objects, path, mm::kModem, name).text();
    if (text && text->starts_with("/sys/")) return text;
  }
  return std::nullopt;
}

void readSignal(const ModemObjects& objects, const std::string& path, std::uint32_t technologies,
                ModemRecord& record) {
  const Value::List* quality = property(objects, path, mm::kModem, "SignalQuality").list();
  if (!quality || quality->size() != 2) return;
  const auto percent =
      static_cast<std::int32_t>(std::clamp<std::int64_t>((*quality)[0].integer(), 0, 100));
  const auto measured = measuredSignal(objects, path, technologies);
  // Nothing was measured yet, or nothing can be while the radio is off. The service sets 0, marked
  // as recent, while a modem is not registered, and until it measures after that.
  if (percent == 0 && (!measured || !(*quality)[1].boolean())) return;
  record.quality = percent;
  record.signal = measured;
  if (!record.signal) record.signal = signalOfQuality(percent);
}

}  // namespace

std::string technologyText(std::uint32_t technologies) {
  const TechnologyWords* words = wordsOf(technologies);
  return words ? words->technology : rat::kUnknown;
}

std::string dataIndicatorWord(std::uint32_t technologies) {
  const TechnologyWords* words = wordsOf(technologies);
  return words ? words->indicator : "None";
}

CallStatus callStatus(std::int32_t state) {
  switch (state) {
    case 1:  // dialing
    case 2:  // ringing at the other end
      return CallStatus::Sending;
    case kCallRinging:
    case kCallWaiting:
      return CallStatus::Ringing;
    case 4:
      return CallStatus::Active;
    case 5:
      return CallStatus::Held;
    case 7:
      return CallStatus::Disconnected;
    default:
      return CallStatus::Idle;  // made, and not begun
  }
}

std::string registrationWord(std::uint32_t state) {
  // Registered for messages only, or without fall-back for calls, is registered all the same.
  constexpr const char* kWords[] = {"NotRegistered",  "RegisteredHome",    "Searching",
                                    "Denied",         "Unknown",           "RegisteredRoaming",
                                    "RegisteredHome", "RegisteredRoaming", "EmergencyOnly",
                                    "RegisteredHome", "RegisteredRoaming", "RestrictedLocal"};
  return state < std::size(kWords) ? kWords[state] : "Unknown";
}

std::optional<bool> registeredAtHome(std::uint32_t state) {
  const std::string word = registrationWord(state);
  if (word == "RegisteredHome") return true;
  if (word == "RegisteredRoaming") return false;
  return std::nullopt;
}

std::string simWord(std::uint32_t lock, bool present, std::uint32_t failedReason) {
  if (failedReason == kSimMissing) return "NotInserted";
  if (failedReason == kSimError) return "Error";
  if (failedReason == kNoProfile) return "NoProfile";
  if (!present) return "NotInserted";
  switch (lock) {
    case 0:
      return "Unknown";
    case kLockNone:
    case kLockPin2:  // the second codes only guard settings
    case kLockPuk2:
      return "Ready";
    case kLockPin:
      return "PIN";
    case kLockPuk:
      return "PUK";
    default:
      return "Locked";  // to a network, a provider or a device
  }
}

std::int32_t signalBars(std::int32_t quality) {
  return std::clamp((quality + 19) / 20, 0, 5);
}

std::int32_t signalOfQuality(std::int32_t quality) {
  return static_cast<std::int32_t>(std::lround(-113 + quality * 62 / 100.0));
}

void readCell(const std::string& text, std::optional<std::int64_t>& cell,
              std::optional<std::int64_t>& area) {
  std::optional<std::int64_t> fields[5];
  const char* at = text.data();
  const char* const end = at + text.size();
  for (auto& field : fields) {
    const char* const stop = std::find(at, end, ',');
    std::int64_t hexadecimal = 0;
    const auto read = std::from_chars(at, stop, hexadecimal, 16);
    if (read.ec == std::errc() && read.ptr == stop && hexadecimal >= 0) field = hexadecimal;
    if (stop == end) break;
    at = stop + 1;
  }
  cell = fields[3];
  area = fields[2];
  // LTE and 5G have no location areas, and say so with one of these.
  const bool none = !area || *area == 0 || *area == 0xFFFE || *area == 0xFFFF;
  if (none && fields[4] && *fields[4] != 0) area = fields[4];
}

ModemRecord readModem(const ModemObjects& objects, const std::string& path) {
  ModemRecord record;
  if (path.empty()) return record;
  const auto modem = [&](const char* name) -> const Value& {
    return property(objects, path, mm::kModem, name);
  };
  record.path = path;
  record.device = deviceOf(objects, path).value_or("");
  const std::uint32_t power = number(modem("PowerState"));
  record.poweredOff = power == kPowerOff || power == kPowerLow;
  const std::uint32_t technologies = number(modem("AccessTechnologies"));
  record.technology = technologyText(technologies);
  record.firmware = textUnlessEmpty(modem("Revision"));
  const std::int32_t state = modem("State").integer32();
  if (state >= kStateEnabled) readSignal(objects, path, technologies, record);

  const auto sim = modem("Sim").text();
  record.simStatus =
      telephony::kSimStatus + simWord(number(modem("UnlockRequired")), sim && sim->size() > 1,
                                      number(modem("StateFailedReason")));

  const Value& registration = property(objects, path, mm::kModem3gpp, "RegistrationState");
  if (!registration.isNothing()) {
    record.registrationStatus =
        std::string(telephony::kRegistrationStatusPrefix) + registrationWord(number(registration));
    record.home = registeredAtHome(number(registration));
  }
  record.operatorName = textUnlessEmpty(property(objects, path, mm::kModem3gpp, "OperatorName"));
  const Value& location = property(objects, path, mm::kLocation, "Location");
  if (const Dictionary* places = location.dictionary()) {
    if (const auto text = (*places)["1"].text()) readCell(*text, record.cell, record.area);
  }

  for (const std::string& bearer : listedPaths(objects, path, mm::kModem, "Bearers")) {
    if (property(objects, bearer, mm::kBearer, "Connected").boolean()) ++record.dataContexts;
  }
  const std::uint32_t service =
      number(property(objects, path, mm::kModem3gpp, "PacketServiceState"));
  if (service != kPacketServiceUnknown) {
    record.dataAttached = service == kPacketServiceAttached;
  } else {
    // Services that do not report it: a modem with a connection is attached, and so is one in a
    // network that knows nothing but packets.
    record.dataAttached = record.dataContexts > 0 || state == kStateConnected ||
                          (record.home && (technologies & (kLte | k5gNr)) != 0);
  }
  record.dataIndicator = std::string(telephony::kDataIndicatorPrefix) +
                         (record.dataAttached ? dataIndicatorWord(technologies) : "None");

  for (const std::string& call : listedPaths(objects, path, mm::kVoice, "Calls")) {
    const Value& callState = property(objects, call, mm::kCall, "State");
    const CallStatus status = callStatus(callState.integer32());
    // Calls that have ended stay in the service's list until a client deletes them.
    if (callState.isNothing() || status == CallStatus::Disconnected) continue;
    record.calls.push_back({static_cast<std::int32_t>(status)});
  }
  return record;
}

std::vector<std::string> readModemDevices(const ModemObjects& objects) {
  std::vector<std::string> devices;
  for (const auto& [path, properties] : objects) {
    if (!isModem(properties)) continue;
    if (const auto device = deviceOf(objects, path)) devices.push_back(*device);
  }
  return devices;
}

std::uint32_t readEnabledLocationSources(const ModemObjects& objects) {
  std::uint32_t sources = 0;
  for (const auto& [path, properties] : objects) {
    if (!isModem(properties)) continue;
    sources |=
        static_cast<std::uint32_t>(property(objects, path, mm::kLocation, "Enabled").integer());
  }
  return sources;
}

std::vector<std::string> readMobileInterfaces(const ModemObjects& objects) {
  std::vector<std::string> connected, ports;
  for (const auto& [path, properties] : objects) {
    if (!isModem(properties)) continue;
    for (const std::string& bearer : listedPaths(objects, path, mm::kModem, "Bearers")) {
      const auto name = property(objects, bearer, mm::kBearer, "Interface").text();
      if (name && !name->empty() && property(objects, bearer, mm::kBearer, "Connected").boolean()) {
        connected.push_back(*name);
      }
    }
    const Value::List* all = property(objects, path, mm::kModem, "Ports").list();
    if (!all) continue;
    for (const Value& port : *all) {
      const Value::List* pair = port.list();
      if (!pair || pair->size() != 2 || number((*pair)[1]) != kPortNet) continue;
      if (const auto name = (*pair)[0].text()) ports.push_back(*name);
    }
  }
  return connected.empty() ? ports : connected;
}

std::vector<std::string> readRingingCalls(const ModemObjects& objects) {
  std::vector<std::string> ringing;
  for (const auto& [path, properties] : objects) {
    const std::int64_t state = property(objects, path, mm::kCall, "State").integer();
    if (state == kCallRinging || state == kCallWaiting) ringing.push_back(path);
  }
  return ringing;
}

}  // namespace zorva

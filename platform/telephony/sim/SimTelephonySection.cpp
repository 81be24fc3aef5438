// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/sim/SimTelephonySection.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zorva {
namespace {

constexpr std::array<const char*, 6> kCallStatuses = {"Idle",    "Active",  "Held",
                                                      "Sending", "Ringing", "Disconnected"};

// Roles are the notifications' names without what they all begin with.
constexpr std::string_view kRolePrefix = "telephony.";
constexpr std::array kNotifications = {
    telephony::kDaemonRestart,       telephony::kSignalStrength,
    telephony::kDataPlanStatus,      telephony::kRadioBandChange,
    telephony::kCallStatusChange,    telephony::kCallControlFailure,
    telephony::kRadioTransmit,       telephony::kSimStatusChange,
    telephony::kCellChanged,         telephony::kRegistrationStatusChanged,
    telephony::kDataStatusChanged,   telephony::kOperatorNameChanged,
    telephony::kStateDurationReport,
};

std::optional<std::string> textOf(const ScenarioNode& node, std::string_view prefix = {}) {
  if (node.isNothing()) return std::nullopt;
  return std::string(prefix) + node.anyText();
}

template <typename Number>
std::optional<Number> integerOrNothing(const ScenarioNode& node, std::int64_t least,
                                       std::int64_t most) {
  if (node.isNothing()) return std::nullopt;
  return static_cast<Number>(node.integer(least, most));
}

std::int32_t callStatusOf(const ScenarioNode& node) {
  const auto status = std::find(kCallStatuses.begin(), kCallStatuses.end(), node.text());
  if (status != kCallStatuses.end())
    return static_cast<std::int32_t>(status - kCallStatuses.begin());
  const std::string& text = node.text();
  if (text.find_first_not_of("-0123456789") != std::string::npos) {
    node.refuse("write Idle, Active, Held, Sending, Ringing, Disconnected or a number");
  }
  return static_cast<std::int32_t>(node.integer(INT32_MIN, INT32_MAX));
}

std::string notificationOf(const ScenarioNode& role) {
  for (const char* name : kNotifications) {
    if (role.text() == std::string_view(name).substr(kRolePrefix.size())) return name;
  }
  role.refuse("there is no telephony notification of this role");
}

}  // namespace

SimTelephonySection::SimTelephonySection(SimParts& parts, SimTelephony& telephony,
                                         SimTelephonyServer& server,
                                         SimTelephonyNotifications& notifications)
    : telephony_(telephony), server_(server), notifications_(notifications) {
  Keys state = libraryKeys();
  for (const auto& key : serverKeys()) state.push_back(key);
  Keys all = state;
  for (const auto& key : newsKeys()) all.push_back(key);
  parts.sections.addStart("telephony",
                          [state](const ScenarioNode& node) { return node.actions(state); });
  parts.sections.addStep("telephony",
                         [all](const ScenarioNode& node) { return node.actions(all); });
}

ScenarioAction SimTelephonySection::readCalls(const ScenarioNode& node) {
  SimTelephony::CallChanges changes;
  for (const auto& [key, value] : node.entries()) {
    const auto id = static_cast<std::int32_t>(key.integer(0, INT32_MAX));
    if (value.isNothing()) {
      if (planned_.erase(id) == 0) key.refuse("there is no such call then");
      changes.emplace_back(id, std::nullopt);
    } else {
      planned_.insert(id);
      changes.emplace_back(id, callStatusOf(value));
    }
  }
  return [this, changes] { telephony_.setCalls(changes); };
}

// Keys that are left out keep what they set, at the moment when the step happens.
SimTelephonySection::Keys SimTelephonySection::libraryKeys() {
  const auto readSignal = [this](const ScenarioNode& node) -> ScenarioAction {
    using Signal = SimTelephony::Signal;
    std::vector<std::function<void(Signal&)>> changes;
    const auto keys = node.keys({"raw", "percent", "bars"});
    const auto take = [&](const char* key, auto member, std::int64_t least, std::int64_t most) {
      const auto* given = keys.find(key);
      if (given == nullptr) return;
      const auto number = integerOrNothing<std::int32_t>(*given, least, most);
      changes.emplace_back([member, number](Signal& signal) { signal.*member = number; });
    };
    take("raw", &Signal::raw, INT32_MIN, INT32_MAX);
    take("percent", &Signal::percent, 0, 100);
    take("bars", &Signal::bars, 0, INT32_MAX);
    return [this, changes] {
      Signal signal = telephony_.signal();
      for (const auto& change : changes) change(signal);
      telephony_.setSignal(signal);
    };
  };
  const auto readCell = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"id", "area_code"});
    std::optional<std::optional<std::int64_t>> id, areaCode;
    if (const auto* given = keys.find("id"))
      id = integerOrNothing<std::int64_t>(*given, 0, INT64_MAX);
    if (const auto* given = keys.find("area_code")) {
      areaCode = integerOrNothing<std::int64_t>(*given, 0, INT64_MAX);
    }
    return [this, id, areaCode] {
      SimTelephony::Cell cell = telephony_.cell();
      if (id) cell.id = *id;
      if (areaCode) cell.areaCode = *areaCode;
      telephony_.setCell(cell);
    };
  };
  const auto readNetwork = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"status", "home"});
    std::optional<std::optional<std::string>> status;
    std::optional<std::optional<bool>> home;
    if (const auto* given = keys.find("status")) {
      status = textOf(*given, telephony::kRegistrationStatusPrefix);
    }
    if (const auto* given = keys.find("home")) {
      home = given->isNothing() ? std::nullopt : std::optional(given->boolean());
    }
    return [this, status, home] {
      SimTelephony::Network network = telephony_.network();
      if (status) network.status = *status;
      if (home) network.home = *home;
      telephony_.setNetwork(network);
    };
  };
  const auto readData = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"attached", "active", "indicator"});
    std::optional<bool> attached, active;
    std::optional<std::optional<std::string>> indicator;
    if (const auto* given = keys.find("attached")) attached = given->boolean();
    if (const auto* given = keys.find("active")) active = given->boolean();
    if (const auto* given = keys.find("indicator")) {
      indicator = textOf(*given, telephony::kDataIndicatorPrefix);
    }
    return [this, attached, active, indicator] {
      SimTelephony::Data data = telephony_.data();
      data.attached = attached.value_or(data.attached);
      data.active = active.value_or(data.active);
      if (indicator) data.indicator = *indicator;
      telephony_.setData(data);
    };
  };
  return {{"signal", readSignal},
          {"cell", readCell},
          {"registration", readNetwork},
          {"data", readData},
          {"calls", [this](const ScenarioNode& node) { return readCalls(node); }},
          {"sim",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, s = textOf(node, telephony::kSimStatus)] { telephony_.setSimStatus(s); };
           }},
          {"operator",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, name = textOf(node)] { telephony_.setOperatorName(name); };
           }},
          {"airplane_mode", [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, on = node.boolean()] { telephony_.setAirplaneMode(on); };
           }}};
}

SimTelephonySection::Keys SimTelephonySection::serverKeys() {
  return {{"rat",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, rat = textOf(node)] { server_.setRatSelection(rat); };
           }},
          {"firmware",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, version = textOf(node)] { server_.setFirmwareVersion(version); };
           }},
          {"wake_command",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, command = textOf(node)] { server_.setWakeCommand(command); };
           }},
          {"traces",
           [this](const ScenarioNode& node) {
             return eachEntryOf(node, [this](const ScenarioNode& trace, const ScenarioNode& set) {
               return eachEntryOf(
                   set,
                   [this, trace = trace.text()](const ScenarioNode& property,
                                                const ScenarioNode& value) -> ScenarioAction {
                     return [this, trace, property = property.text(), value = textOf(value)] {
                       server_.setTraceProperty(trace, property, value);
                     };
                   });
             });
           }},
          {"state_durations", [this](const ScenarioNode& node) -> ScenarioAction {
             if (node.isNothing()) return [this] { server_.removeStateDurations(); };
             Dictionary durations;
             for (const auto& [state, milliseconds] : node.entries()) {
               durations.set(std::string(telephony::kBasebandStatePrefix) + state.text(),
                             milliseconds.integer(INT32_MIN, INT32_MAX));
             }
             return [this, durations] { server_.setStateDurations(durations); };
           }}};
}

SimTelephonySection::Keys SimTelephonySection::newsKeys() {
  const auto telling = [this](const char* name) {
    return [this, name](const ScenarioNode& node) -> ScenarioAction {
      node.mark();
      return [this, name] { notifications_.post(name); };
    };
  };
  const auto readNotification = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"role", "information"});
    Dictionary information;
    if (const auto* given = keys.find("information")) {
      for (const auto& [key, value] : given->entries()) information.set(key.text(), value.value());
    }
    return [this, name = notificationOf(keys.require("role")), information] {
      notifications_.post(name, information);
    };
  };
  return {{"data_plan_change", telling(telephony::kDataPlanStatus)},
          {"band_change", telling(telephony::kRadioBandChange)},
          {"call_failure", telling(telephony::kCallControlFailure)},
          {"radio_transmit",
           [this](const ScenarioNode& node) -> ScenarioAction {
             const auto keys = node.keys({"dch", "utbf"});
             Dictionary information;
             if (const auto* dch = keys.find("dch")) {
               information.set(telephony::kDCHStatus, dch->boolean());
             }
             if (const auto* utbf = keys.find("utbf")) {
               information.set(telephony::kUTBFStatus, utbf->boolean());
             }
             return [this, information] {
               notifications_.post(telephony::kRadioTransmit, information);
             };
           }},
          {"notification",
           [readNotification](const ScenarioNode& node) {
             return eachOf(node.oneOrMore(), readNotification);
           }},
          {"unexpected",
           [this](const ScenarioNode& node) -> ScenarioAction {
             return [this, name = node.text()] { server_.sendOnConnections(name); };
           }},
          {"restart", [this](const ScenarioNode& node) -> ScenarioAction {
             node.mark();
             return [this] { server_.restart(); };
           }}};
}

}  // namespace zorva

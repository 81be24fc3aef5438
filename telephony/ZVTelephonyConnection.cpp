// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVTelephonyConnection.h"

#include "platform/base/Text.h"

namespace zorva {

ZVTelephonyConnection::ZVTelephonyConnection(const Sources& sources) : sources_(sources) {
  daemonRestart_ = sources_.notifications.observe(
      telephony::kDaemonRestart,
      [this](std::string_view, const Dictionary&) { daemonRestartNotification(); });
}

ZVTelephonyConnection::~ZVTelephonyConnection() {
  daemonRestart_.reset();
  teardownConnection();
}

TelephonyServer::Connection* ZVTelephonyConnection::connection() {
  if (connection_) return connection_.get();
  teardownConnection();

  TelephonyServer& server = sources_.server;
  connection_ = server.createConnection([&systemLog = sources_.systemLog](std::string_view name) {
    // The loggers' notifications come through the telephony notification centre.
    systemLog.write(formatText("received unexpected notification: %s", safeText(name).c_str()));
  });
  if (!connection_) {
    sources_.systemLog.write("Failed to allocate a CTServer connection");
    return nullptr;
  }
  ctServerPort_ = server.makePort(
      server.portOfConnection(*connection_),
      [&server](const TelephonyServer::Message& message) { server.handleReply(message); });
  if (!ctServerPort_) {
    sources_.systemLog.write("Could not allocate mach port to CTServer");
    return nullptr;
  }
  ctServerSource_ = server.makeSource(*ctServerPort_);
  if (!ctServerSource_) {
    sources_.systemLog.write("Could not allocate run loop source for the BasebandLogger");
    return nullptr;
  }
  ctServerSource_->addToRunLoop();
  const ServerResult result = server.setStateDurationReporting(connection_.get(), true);
  if (result.error != 0) {
    sources_.systemLog.write(
        formatText("Failed to enable baseband power state reporting (domain=%d, error=%d)",
                   result.domain, result.error));
    return nullptr;
  }
  return connection_.get();
}

void ZVTelephonyConnection::teardownConnection() {
  if (connection_) sources_.server.setStateDurationReporting(connection_.get(), false);
  ctServerSource_.reset();
  ctServerPort_.reset();
  connection_.reset();
}

std::optional<std::string> ZVTelephonyConnection::currentRAT() {
  std::optional<std::string> selection;
  const ServerResult result = sources_.server.ratSelection(connection(), selection);
  if (result.error != 0) {
    sources_.systemLog.write(
        formatText("Could not get the selected radio mode. (domain: %d error: %d)", result.domain,
                   result.error));
    return std::nullopt;
  }
  return humanReadableRATName(selection);
}

std::string ZVTelephonyConnection::humanReadableRATName(const std::optional<std::string>& value) {
  if (!value) return "None";
  if (value == rat::kSelection0 || value == rat::kGSM || value == rat::kGSMCompact) return "GSM";
  if (value == rat::kSelection1 || value == rat::kUTRAN) return "UMTS";
  if (value == rat::kSelection2) return "Dual";
  if (value == rat::kSelectionUnknown || value == rat::kUnknown) return "Unknown";
  return *value;
}

std::string ZVTelephonyConnection::currentCallStatus() {
  const auto calls = sources_.telephony.copyCurrentCalls();
  if (!calls || calls->empty()) return "Inactive";
  if (calls->size() > 1) return "Multiple";
  return humanReadableCallStatus(calls->front().status);
}

std::string ZVTelephonyConnection::humanReadableCallStatus(std::int32_t status) {
  switch (static_cast<CallStatus>(status)) {
    case CallStatus::Idle:
      return "Idle";
    case CallStatus::Active:
      return "Active";
    case CallStatus::Held:
      return "Held";
    case CallStatus::Sending:
      return "Sending";
    case CallStatus::Ringing:
      return "Ringing";
    case CallStatus::Disconnected:
      return "Disconnected";
  }
  return formatText("<unknown status: %d>", status);
}

void ZVTelephonyConnection::getSignalStrengthAsPercentageWithBars(std::int32_t& raw,
                                                                  std::int32_t& percentage,
                                                                  std::int32_t& bars) {
  raw = percentage = bars = -1;
  sources_.telephony.signalStrength(raw, percentage, bars);
}

std::optional<std::string> ZVTelephonyConnection::basebandFirmwareVersion() {
  std::optional<std::string> version;
  sources_.server.copyFirmwareVersion(connection(), version);
  return version;
}

std::optional<std::string> ZVTelephonyConnection::wakeCommand() {
  std::optional<std::string> command;
  const ServerResult result = sources_.server.copyWakeCommand(connection(), command);
  if (result.error != 0 || !command) {
    sources_.systemLog.write(formatText(
        "Could not copy the AT wake command. (domain: %d error: %d)", result.domain, result.error));
    return std::nullopt;
  }
  return std::string(trimmed(*command));
}

void ZVTelephonyConnection::requestBasebandStateDurationReport() {
  const ServerResult result = sources_.server.requestStateDurationReport(connection());
  if (result.error == 0) return;
  sources_.systemLog.write(
      formatText("Failed to get a baseband power state report (domain=%d, error=%d)", result.domain,
                 result.error));
  teardownConnection();
}

void ZVTelephonyConnection::requestBasebandStateDump(const Value& argument) {
  const ServerResult result = sources_.server.dumpBasebandState(connection(), argument);
  if (result.error == 0) return;
  sources_.systemLog.write(formatText("Failed to dump baseband state (domain=%d, error=%d)",
                                      result.domain, result.error));
  teardownConnection();
}

std::optional<std::string> ZVTelephonyConnection::getPropertyForTrace(const std::string& property,
                                                                      const std::string& trace) {
  std::optional<std::string> value;
  bool found = false;
  const ServerResult result =
      sources_.server.copyTraceProperty(connection(), trace, property, value, found);
  if (result.error == 0 && found && value) return value;
  sources_.systemLog.write(
      formatText("Unable to retrieve property %s from telephony trace %s (domain=%d, error=%d)",
                 property.c_str(), trace.c_str(), result.domain, result.error));
  return std::nullopt;
}

bool ZVTelephonyConnection::traceEnabled(const std::string& trace) {
  return getPropertyForTrace("enabled", trace) == "true";
}

}  // namespace zorva

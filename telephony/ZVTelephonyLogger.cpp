// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVTelephonyLogger.h"

#include <cstdlib>
#include <utility>

#include "platform/base/Text.h"
#include "telephony/RadioNotifications.h"
#include "telephony/ShortenedText.h"

namespace zorva {
namespace {

// A signal that differs by no more than this from the last entry does not count as changed.
constexpr std::int64_t kSignalThresholdInDBm = 5;

std::optional<bool> booleanIn(const Value& value) {
  if (value.isNothing()) return std::nullopt;
  return value.boolean();
}

}  // namespace

std::unique_ptr<ZVTelephonyLogger> ZVTelephonyLogger::loggerWithConnection(
    const Services& services, TelephonyNotifications& notifications, const Connection& connection,
    Telephony& telephony) {
  return initWithConnection(services, connection, [&] {
    return std::unique_ptr<ZVTelephonyLogger>(
        new ZVTelephonyLogger(services, notifications, connection, telephony));
  });
}

ZVTelephonyLogger::ZVTelephonyLogger(const Services& services,
                                     TelephonyNotifications& notifications,
                                     const Connection& connection, Telephony& telephony)
    : ZVTelephonyConnectedLogger(services, notifications, connection), telephony_(telephony) {
  setSimStatus(telephony_.simStatus());
  for (const char* name :
       {telephony::kSignalStrength, telephony::kDataPlanStatus, telephony::kRadioBandChange,
        telephony::kCallStatusChange, telephony::kCallControlFailure, telephony::kRadioTransmit,
        telephony::kSimStatusChange}) {
    registerCallbackForTelephonyNotification(
        [this](std::string_view reported, const Dictionary& information) {
          handleNotification(reported, information);
        },
        name);
  }
  changed_ = true;
  logOnBatteryLevel();
}

void ZVTelephonyLogger::log() {
  ZVTelephonyConnection& connection = *telephonyConnection();
  auto technology = connection.currentRAT();
  if (technology) technology = safeText(*technology);
  std::string body = formatText(" band=%s;", connection.activeBand().c_str());
  body += formatText(" data=%s;", humanReadableDataActiveString().c_str());
  body += formatText(" rat=%s;", textOrNull(technology).c_str());
  body += formatText(" call_status=%s;", connection.currentCallStatus().c_str());
  body += formatText(" airplane_mode=%s;", onOrOff(telephony_.airplaneMode()));
  body += formatText(" sim=%s;", safeText(humanReadableSimStatusString()).c_str());
  std::int32_t raw, percentage, bars;
  connection.getSignalStrengthAsPercentageWithBars(raw, percentage, bars);
  body += formatText(" signal=%d dBm;", raw);
  body += formatText(" bars=%d;", bars);
  logEntryWithBody("Telephony", body);
  lastReportedSignal_ = raw;
}

std::string ZVTelephonyLogger::humanReadableDataActiveString() const {
  if (!inDCH_ && !inUTBF_) return "<unknown>";
  const bool dch = inDCH_.value_or(false);
  const bool utbf = inUTBF_.value_or(false);
  if (dch && utbf) return "DCH/UTBF";
  if (dch) return "DCH";
  if (utbf) return "UTBF";
  return "inactive";
}

std::string ZVTelephonyLogger::humanReadableSimStatusString() const {
  if (!simStatus_ || simStatus_->empty()) return "<unknown>";
  constexpr std::size_t kKeyLength = std::string_view(telephony::kSimStatus).size();
  return std::string(withoutFirstCharacters(*simStatus_, kKeyLength));
}

void ZVTelephonyLogger::setSimStatus(std::optional<std::string> simStatus) {
  if (simStatus != simStatus_) changed_ = true;
  simStatus_ = std::move(simStatus);
}

void ZVTelephonyLogger::handleNotification(std::string_view name, const Dictionary& information) {
  if (name == telephony::kSignalStrength) {
    const std::int64_t raw = information[telephony::kRawSignalStrength].integer32();
    if (std::abs(lastReportedSignal_ - raw) <= kSignalThresholdInDBm) return;
    changed_ = true;
  } else if (name == telephony::kRadioTransmit) {
    takeRadioTransmit(information);
  } else if (name == telephony::kSimStatusChange) {
    setSimStatus(information[telephony::kSimStatus].text());
  } else if (name == telephony::kDataPlanStatus || name == telephony::kRadioBandChange ||
             name == telephony::kCallStatusChange || name == telephony::kCallControlFailure) {
    changed_ = true;
  }
  if (!changed_) return;
  log();
  changed_ = false;
}

void ZVTelephonyLogger::takeRadioTransmit(const Dictionary& information) {
  for (const auto& [key, value] : information) {
    if (key == telephony::kDCHStatus) setInDCH(booleanIn(value));
    if (key == telephony::kUTBFStatus) setInUTBF(booleanIn(value));
  }
  // Before the entry, so that entries of the observers precede it.
  notifications().post(kRadioTransmitStatusDidChange, this);
  changed_ = true;
}

}  // namespace zorva

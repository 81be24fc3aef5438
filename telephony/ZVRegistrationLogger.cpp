// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVRegistrationLogger.h"

#include "platform/base/Text.h"
#include "telephony/ShortenedText.h"

namespace zorva {
namespace {

std::optional<std::int64_t> optionalInteger(const Value& value) {
  return value.isNothing() ? std::nullopt : std::optional(value.integer());
}

std::optional<bool> optionalBoolean(const Value& value) {
  return value.isNothing() ? std::nullopt : std::optional(value.boolean());
}

std::string withoutPrefix(const std::optional<std::string>& value, std::string_view prefix) {
  if (!value) return "<unknown>";
  return std::string(withoutFirstCharacters(*value, prefix.size()));
}

std::string numberOrUnknown(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "<unknown>";
}

}  // namespace

std::unique_ptr<ZVRegistrationLogger> ZVRegistrationLogger::loggerWithConnection(
    const Services& services, TelephonyNotifications& notifications, const Connection& connection,
    Telephony& telephony) {
  return initWithConnection(services, connection, [&] {
    return std::unique_ptr<ZVRegistrationLogger>(
        new ZVRegistrationLogger(services, notifications, connection, telephony));
  });
}

ZVRegistrationLogger::ZVRegistrationLogger(const Services& services,
                                           TelephonyNotifications& notifications,
                                           const Connection& connection, Telephony& telephony)
    : ZVTelephonyConnectedLogger(services, notifications, connection) {
  setCellID(std::nullopt);
  setLac(std::nullopt);
  setDataAttached(telephony.dataAttached());
  setDataActive(telephony.dataContextActive(0));
  setDataIndicator(telephony.dataIndicator());
  setHomeNetwork(std::nullopt);
  setRegistrationStatus(telephony.registrationStatus());
  setOperatorName(telephony.copyOperatorName());
  changed_ = true;
  for (const char* name : {telephony::kCellChanged, telephony::kRegistrationStatusChanged,
                           telephony::kDataStatusChanged, telephony::kOperatorNameChanged}) {
    registerCallbackForTelephonyNotification(
        [this](std::string_view reported, const Dictionary& information) {
          handleNotification(reported, information);
        },
        name);
  }
}

void ZVRegistrationLogger::log() {
  const std::string operatorName = safeText(operatorName_.value_or(""));
  const std::string indicator = safeText(humanReadableDataIndicator(dataIndicator_));
  const std::string status = safeText(humanReadableRegistrationStatus(registrationStatus_));
  std::string body =
      formatText(" operator=%s;", operatorName.empty() ? "<none>" : operatorName.c_str());
  body += formatText(" lac=%s;", numberOrUnknown(lac_).c_str());
  body += formatText(" cell_id=%s;", numberOrUnknown(cellID_).c_str());
  body += formatText(" home=%s;", homeNetwork_ ? yesOrNo(*homeNetwork_) : "<unknown>");
  body += formatText(" data_attached=%s;", yesOrNo(dataAttached_.value_or(false)));
  body += formatText(" data_active=%s;", yesOrNo(dataActive_.value_or(false)));
  body += formatText(" data_indicator=%s;", indicator.c_str());
  body += formatText(" status=%s;", status.c_str());
  logEntryWithBody("Registration", body);
  changed_ = false;
}

std::string ZVRegistrationLogger::humanReadableDataIndicator(
    const std::optional<std::string>& indicator) {
  return withoutPrefix(indicator, telephony::kDataIndicatorPrefix);
}

std::string ZVRegistrationLogger::humanReadableRegistrationStatus(
    const std::optional<std::string>& status) {
  return withoutPrefix(status, telephony::kRegistrationStatusPrefix);
}

void ZVRegistrationLogger::handleNotification(std::string_view name,
                                              const Dictionary& information) {
  if (name == telephony::kCellChanged) {
    setCellID(optionalInteger(information[telephony::kCellID]));
    setLac(optionalInteger(information[telephony::kLocationAreaCode]));
  } else if (name == telephony::kRegistrationStatusChanged) {
    setRegistrationStatus(information[telephony::kRegistrationStatus].text());
    setHomeNetwork(optionalBoolean(information[telephony::kInHomeCountry]));
  } else if (name == telephony::kDataStatusChanged) {
    setDataAttached(optionalBoolean(information[telephony::kDataAttached]));
    setDataActive(optionalBoolean(information[telephony::kDataActive]));
    setDataIndicator(information[telephony::kDataIndicator].text());
  } else if (name == telephony::kOperatorNameChanged) {
    setOperatorName(information[telephony::kOperatorName].text());
  }
  if (changed_) log();
}

}  // namespace zorva

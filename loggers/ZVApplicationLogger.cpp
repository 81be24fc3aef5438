// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVApplicationLogger.h"

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVApplicationLogger> ZVApplicationLogger::logger(const Services& services,
                                                                 ApplicationStates& applications) {
  return std::unique_ptr<ZVApplicationLogger>(new ZVApplicationLogger(services, applications));
}

ZVApplicationLogger::ZVApplicationLogger(const Services& services, ApplicationStates& applications)
    : ZVLogger(services), applications_(applications) {
  keep(applications.observe(
      [this](const ApplicationStateChange& change) { appStateChanged(change); }));
  applications.beginGenerating();
}

ZVApplicationLogger::~ZVApplicationLogger() {
  applications_.endGenerating();
}

void ZVApplicationLogger::log() {
  for (const std::string& displayID : applications_.copyDisplayIdentifiers(true, false)) {
    logStateForDisplayIDPidStringAndStateWithReasons(displayID, std::nullopt, std::nullopt,
                                                     std::nullopt);
  }
}

void ZVApplicationLogger::appStateChanged(const ApplicationStateChange& change) {
  std::optional<std::string> pidString;
  if (change.pid.has_value()) pidString = std::to_string(*change.pid);
  logStateForDisplayIDPidStringAndStateWithReasons(change.displayIdentifier, pidString,
                                                   change.state, change.reasons);
}

void ZVApplicationLogger::logStateForDisplayIDPidStringAndStateWithReasons(
    const std::optional<std::string>& displayID, const std::optional<std::string>& pidString,
    std::optional<std::int32_t> state, const std::optional<std::vector<std::int32_t>>& reasons) {
  // A missing id is queried as the empty id, which no application has.
  const std::string asked = displayID.value_or("");
  std::string body = formatText(" id=%s;", safeText(textOrNull(displayID)).c_str());

  std::string pid = "<unknown>";
  if (pidString.has_value()) {
    pid = *pidString;
  } else if (const auto process = applications_.processOf(asked)) {
    pid = formatText("%d", *process);
  }
  body += formatText(" pid=%s;", pid.c_str());

  if (!state.has_value()) state = applications_.stateOf(asked);
  body += formatText(" mode=%s;", safeText(applications_.descriptionOfState(*state)).c_str());

  body += " reason=";
  if (reasons.has_value()) {
    const char* separator = "";
    for (const std::int32_t reason : *reasons) {
      body += separator + safeText(applications_.nameOfReason(reason));
      separator = " ";
    }
  } else {
    body += "<unknown>";
  }
  body += ";";
  logEntryWithBody("Application", body);
}

}  // namespace zorva

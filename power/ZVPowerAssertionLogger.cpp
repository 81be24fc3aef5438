// SPDX-License-Identifier: Apache-2.0
#include "power/ZVPowerAssertionLogger.h"

#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr const char* kProcessNameKey = "ZVAssertionProcessNameKey";

}  // namespace

std::unique_ptr<ZVPowerAssertionLogger> ZVPowerAssertionLogger::logger(const Services& services,
                                                                       PowerManagement& power,
                                                                       ProcessTable& processes) {
  return std::unique_ptr<ZVPowerAssertionLogger>(
      new ZVPowerAssertionLogger(services, power, processes));
}

ZVPowerAssertionLogger::ZVPowerAssertionLogger(const Services& services, PowerManagement& power,
                                               ProcessTable& processes)
    : ZVLogger(services), power_(power), processes_(processes) {
  logOnBatteryLevel();
}

std::vector<Dictionary> ZVPowerAssertionLogger::currentAssertions() {
  const auto byProcess = power_.copyAssertionsByProcess();
  std::vector<Dictionary> assertions;
  if (!byProcess.has_value()) {
    logError("Call to IOPMCopyAssertionsByProcess failed");
    return assertions;
  }
  for (const auto& [process, records] : *byProcess) {
    const std::string name = nameForPID(process).value_or("<unknown>");
    for (const Dictionary& record : records) {
      assertions.push_back(record);
      assertions.back().set(kProcessNameKey, name);
    }
  }
  return assertions;
}

std::optional<std::string> ZVPowerAssertionLogger::nameForPID(std::int32_t process) {
  return processes_.commandName(process);
}

void ZVPowerAssertionLogger::logAssertionWithState(const Dictionary& assertion, const char* state) {
  const auto start = assertion["AssertStartWhen"].date();
  const auto field = [&](const char* key) { return safeText(assertion[key].description()); };
  std::string body = formatText(" state=%s;", state);
  body += formatText(" process=%s;", field(kProcessNameKey).c_str());
  body += formatText(" pid=%s;", field("AssertPID").c_str());
  body += formatText(" name=%s;", field("AssertName").c_str());
  body += formatText(
      " held_for=%s;",
      start.has_value() ? formatTimeInSeconds(secondsBetween(*start, now())).c_str() : "(null)");
  logEntryWithBody("Assertion", body);
}

void ZVPowerAssertionLogger::log() {
  for (const Dictionary& assertion : currentAssertions()) logAssertionWithState(assertion, "held");
}

}  // namespace zorva

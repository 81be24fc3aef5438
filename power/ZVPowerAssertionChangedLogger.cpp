// SPDX-License-Identifier: Apache-2.0
#include "power/ZVPowerAssertionChangedLogger.h"

#include <set>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVPowerAssertionChangedLogger> ZVPowerAssertionChangedLogger::logger(
    const Services& services, PowerManagement& power, ProcessTable& processes) {
  return std::unique_ptr<ZVPowerAssertionChangedLogger>(
      new ZVPowerAssertionChangedLogger(services, power, processes));
}

ZVPowerAssertionChangedLogger::ZVPowerAssertionChangedLogger(const Services& services,
                                                             PowerManagement& power,
                                                             ProcessTable& processes)
    : ZVPowerAssertionLogger(services, power, processes) {
  registerCallbackForOstrelNotification(ZVLoggerLogCallback,
                                        "com.vennor.system.powermanagement.assertions");
  previousAssertions_ = currentAssertions();
}

std::string ZVPowerAssertionChangedLogger::uniqueKeyForAssertion(
    const Dictionary& assertion) const {
  // Two starts within one second are two assertions, so the key contains microseconds, unlike the
  // usual text of a date.
  const auto start = assertion["AssertStartWhen"].date();
  const std::string when = start.has_value() ? std::to_string(start->time_since_epoch().count())
                                             : assertion["AssertStartWhen"].description();
  return assertion["AssertPID"].description() + " - " + assertion["AssertName"].description() +
         " - " + when;
}

void ZVPowerAssertionChangedLogger::log() {
  std::vector<Dictionary> current = currentAssertions();

  // Keys already handled; of assertions with the same key only the first counts.
  std::set<std::string> seen;
  std::set<std::string> previous;
  for (const Dictionary& assertion : previousAssertions_) {
    previous.insert(uniqueKeyForAssertion(assertion));
  }
  for (const Dictionary& assertion : current) {
    const std::string key = uniqueKeyForAssertion(assertion);
    if (seen.insert(key).second && !previous.contains(key)) {
      logAssertionWithState(assertion, "created");
    }
  }
  for (const Dictionary& assertion : previousAssertions_) {
    if (seen.insert(uniqueKeyForAssertion(assertion)).second) {
      logAssertionWithState(assertion, "released");
    }
  }
  previousAssertions_ = std::move(current);
}

}  // namespace zorva

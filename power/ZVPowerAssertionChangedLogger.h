// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "power/ZVPowerAssertionLogger.h"

namespace zorva {

/// Logs the power assertions that were created or released since the last query, which it makes
/// whenever the power-management service announces a change.
class ZVPowerAssertionChangedLogger : public ZVPowerAssertionLogger {
 public:
  static std::unique_ptr<ZVPowerAssertionChangedLogger> logger(const Services& services,
                                                               PowerManagement& power,
                                                               ProcessTable& processes);

  /// The identity of an assertion: process id, name and start.
  std::string uniqueKeyForAssertion(const Dictionary& assertion) const;

  /// Compares with the last query; never writes "held" entries.
  void log() override;

  const std::vector<Dictionary>& previousAssertions() const { return previousAssertions_; }
  void setPreviousAssertions(std::vector<Dictionary> assertions) {
    previousAssertions_ = std::move(assertions);
  }

 private:
  ZVPowerAssertionChangedLogger(const Services& services, PowerManagement& power,
                                ProcessTable& processes);

  std::vector<Dictionary> previousAssertions_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Registration.h"

namespace zorva {

/// One change of an application's state, as far as it is known.
struct ApplicationStateChange {
  std::optional<std::string> displayIdentifier;
  std::optional<pid_t> pid;
  std::optional<std::int32_t> state;
  std::optional<std::vector<std::int32_t>> reasons;  ///< why it may run: reason codes
};

/// What the home-screen process knows of applications.
class ApplicationStates {
 public:
  virtual ~ApplicationStates() = default;

  /// Calls back, on the run loop, for every change. Changes are reported only between
  /// beginGenerating() and endGenerating(), which may be nested. An empty registration says that
  /// changes cannot be observed.
  virtual Registration observe(std::function<void(const ApplicationStateChange&)> changed) = 0;
  virtual void beginGenerating() = 0;
  virtual void endGenerating() = 0;

  /// Identifiers of the active, or of all, applications; of the debuggable ones only when asked.
  virtual std::vector<std::string> copyDisplayIdentifiers(bool onlyActive, bool onlyDebuggable) = 0;
  virtual std::optional<std::int32_t> processOf(const std::string& displayIdentifier) = 0;
  virtual std::int32_t stateOf(const std::string& displayIdentifier) = 0;
  virtual std::string descriptionOfState(std::int32_t state) = 0;
  virtual std::string nameOfReason(std::int32_t reason) = 0;
};

}  // namespace zorva

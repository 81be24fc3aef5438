// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Registration.h"

namespace zorva {

/// One change of an application's state. Unknown members are empty.
struct ApplicationStateChange {
  std::optional<std::string> displayIdentifier;
  std::optional<pid_t> pid;
  std::optional<std::int32_t> state;
  std::optional<std::vector<std::int32_t>> reasons;  ///< codes of the reasons why it may run
};

/// The home-screen process's information on applications.
class ApplicationStates {
 public:
  virtual ~ApplicationStates() = default;

  /// Calls back, on the run loop, for every change. Changes are reported only between
  /// beginGenerating() and endGenerating(), which may be nested. An empty registration means that
  /// changes cannot be observed.
  virtual Registration observe(std::function<void(const ApplicationStateChange&)> changed) = 0;
  virtual void beginGenerating() = 0;
  virtual void endGenerating() = 0;

  /// Identifiers of all applications, or of the active or the debuggable ones only.
  virtual std::vector<std::string> copyDisplayIdentifiers(bool onlyActive, bool onlyDebuggable) = 0;
  virtual std::optional<std::int32_t> processOf(const std::string& displayIdentifier) = 0;
  virtual std::int32_t stateOf(const std::string& displayIdentifier) = 0;
  virtual std::string descriptionOfState(std::int32_t state) = 0;
  virtual std::string nameOfReason(std::int32_t reason) = 0;
};

}  // namespace zorva

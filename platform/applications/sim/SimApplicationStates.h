// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "platform/applications/ApplicationStates.h"
#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The home-screen process's applications, in the order in which they were first set; none at
/// first.
class SimApplicationStates : public ApplicationStates {
 public:
  /// Named in the log: terminated, suspended, background, foreground. Any other number is a state
  /// without a name, shown as "state-77".
  enum class State : std::int32_t { Terminated, Suspended, Background, Foreground };

  struct Application {
    State state = State::Foreground;  ///< all but terminated ones are active
    std::optional<pid_t> pid;
    bool debuggable = false;
  };

  explicit SimApplicationStates(SimParts& parts);

  Registration observe(std::function<void(const ApplicationStateChange&)> changed) override;
  void beginGenerating() override { ++generating_; }
  void endGenerating() override { --generating_; }
  std::vector<std::string> copyDisplayIdentifiers(bool onlyActive, bool onlyDebuggable) override;
  std::optional<std::int32_t> processOf(const std::string& displayIdentifier) override;
  /// The state of an unknown application is terminated.
  std::int32_t stateOf(const std::string& displayIdentifier) override;
  std::string descriptionOfState(std::int32_t state) override;
  /// Reasons are: 1 activation, 2 audio, 3 location, 4 call, 5 task, 6 accessory, 7 network. Any
  /// other number has no name, and is shown as "reason-99".
  std::string nameOfReason(std::int32_t reason) override;

  void setApplication(const std::string& displayIdentifier, Application application);
  /// Reports a change, independently of the applications that are set.
  void notify(const ApplicationStateChange& change);
  bool generating() const { return generating_ > 0; }

 private:
  ScenarioAction readApplication(const ScenarioNode& node);
  ScenarioAction readChange(const ScenarioNode& node);
  Application* find(const std::string& displayIdentifier);

  SimFaultPoint observeFault_;
  SimFaultPoint copyDisplayIdentifiersFault_;
  SimFaultPoint processOfFault_;
  int generating_ = 0;
  std::vector<std::pair<std::string, Application>> applications_;
  Observers<const ApplicationStateChange&> observers_;
};

}  // namespace zorva

#pragma once

#include "platform/ApplicationStates.h"

namespace zorva {

class LinuxApplicationStates : public ApplicationStates {
 public:
  Registration observe(std::function<void(const ApplicationStateChange&)>) override { return {}; }
  void beginGenerating() override {}
  void endGenerating() override {}
  std::vector<std::string> copyDisplayIdentifiers(bool, bool) override { return {}; }
  std::optional<std::int32_t> processOf(const std::string&) override { return std::nullopt; }
  std::int32_t stateOf(const std::string&) override { return 0; }
  std::string descriptionOfState(std::int32_t) override { return {}; }
  std::string nameOfReason(std::int32_t) override { return {}; }
};

}  // namespace zorva

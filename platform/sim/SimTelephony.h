#pragma once

#include "platform/Telephony.h"

namespace zorva {

class SimTelephony : public Telephony {
 public:
  std::int32_t currentCallCount() override { return 0; }
  std::optional<std::vector<Call>> copyCurrentCalls() override { return std::nullopt; }
  void signalStrength(std::int32_t&, std::int32_t&, std::int32_t&) override {}
  std::optional<std::string> simStatus() override { return std::nullopt; }
  bool dataAttached() override { return false; }
  bool dataContextActive(std::int32_t) override { return false; }
  std::optional<std::string> dataIndicator() override { return std::nullopt; }
  std::optional<std::string> registrationStatus() override { return std::nullopt; }
  std::optional<std::string> copyOperatorName() override { return std::nullopt; }
  bool airplaneMode() override { return false; }
};

}  // namespace zorva

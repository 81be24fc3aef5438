// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "platform/telephony/Telephony.h"
#include "platform/telephony/linux/ModemManagerClient.h"

namespace zorva {

/// The telephony queries, answered from ModemManager's record of the first modem
/// (docs/linux-telephony.md) without asking it. Without a modem everything is absent.
class LinuxTelephony : public Telephony {
 public:
  static constexpr const char* kRadioSwitches = "/sys/class/rfkill";

  /// The client outlives this. The directory is the kernel's of radio switches.
  explicit LinuxTelephony(const ModemManagerClient& client,
                          std::string radioSwitches = kRadioSwitches)
      : client_(client), radioSwitches_(std::move(radioSwitches)) {}

  std::int32_t currentCallCount() override;
  std::optional<std::vector<Call>> copyCurrentCalls() override;
  void signalStrength(std::int32_t& raw, std::int32_t& graded, std::int32_t& bars) override;
  std::optional<std::string> simStatus() override { return modem().simStatus; }
  bool dataAttached() override { return modem().dataAttached; }
  bool dataContextActive(std::int32_t context) override {
    return context >= 0 && context < modem().dataContexts;
  }
  std::optional<std::string> dataIndicator() override { return modem().dataIndicator; }
  std::optional<std::string> registrationStatus() override { return modem().registrationStatus; }
  std::optional<std::string> copyOperatorName() override { return modem().operatorName; }
  /// True while the modem is off or in low power mode, or every mobile-network switch is off;
  /// without a modem and such switches, while every radio's switch is off.
  bool airplaneMode() override;

 private:
  const ModemRecord& modem() const { return client_.modem(); }

  const ModemManagerClient& client_;
  std::string radioSwitches_;
};

}  // namespace zorva

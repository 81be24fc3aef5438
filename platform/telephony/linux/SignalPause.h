// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <systemd/sd-event.h>

#include "platform/base/Registration.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/sleep/SystemPower.h"
#include "platform/telephony/linux/ModemManagerClient.h"

namespace zorva {

/// Keeps the modem's reports of its strength from waking a sleeping device: pauses them on the way
/// to sleep and resumes them after the wake, or when the sleep was called off. While no modem was
/// ever asked for its strength it does not take part in the sleep.
class SignalPause {
 public:
  /// How long the sleep waits for the modem to take it back, in microseconds. A modem takes some
  /// hundredths of a second; one that does not respond must not hold up the sleep.
  static constexpr std::uint64_t kPatience = 1'000'000;

  /// All of them outlive this.
  SignalPause(sd_event* event, SystemPower& power, ModemManagerClient& modems,
              std::uint64_t patience = kPatience);
  SignalPause(const SignalPause&) = delete;  // the loop holds its address
  SignalPause& operator=(const SignalPause&) = delete;
  ~SignalPause();

 private:
  void modemsChanged();
  void handle(std::uint32_t type, std::intptr_t argument);
  void waitForModems(std::intptr_t argument);
  void allow();

  sd_event* event_;
  SystemPower& power_;
  ModemManagerClient& modems_;
  std::uint64_t patienceTime_;
  SystemPower::Registered registered_;
  Registration source_;
  std::optional<std::intptr_t> waiting_;  ///< the sleep that waits for the modems
  EventSource patience_;
  Registration changes_;
};

}  // namespace zorva

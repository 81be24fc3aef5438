// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/SignalPause.h"

#include <ctime>
#include <utility>

namespace zorva {

SignalPause::SignalPause(sd_event* event, SystemPower& power, ModemManagerClient& modems,
                         std::uint64_t patience)
    : event_(event), power_(power), modems_(modems), patienceTime_(patience) {
  changes_ = modems_.observe([this] { modemsChanged(); });
  modemsChanged();
}

SignalPause::~SignalPause() {
  source_.reset();
  power_.deregisterForSystemPower(registered_.notifier);
  registered_.port.reset();
  power_.closeConnection(registered_.connection);
}

void SignalPause::modemsChanged() {
  if (waiting_ && !modems_.takingBackSignal()) allow();
  if (registered_.port || !modems_.askedForSignal()) return;
  registered_ = power_.registerForSystemPower(
      [this](std::uint32_t type, std::intptr_t argument) { handle(type, argument); });
  if (registered_.port) source_ = registered_.port->addSourceToRunLoop();
}

void SignalPause::handle(std::uint32_t type, std::intptr_t argument) {
  switch (static_cast<PowerMessage>(type)) {
    case PowerMessage::CanSleep:
      power_.allowPowerChange(registered_.connection, argument);
      break;
    case PowerMessage::WillSleep:
      modems_.pauseSignal();
      waitForModems(argument);
      break;
    case PowerMessage::WillNotSleep:
    case PowerMessage::HasPoweredOn:
      waiting_.reset();
      patience_.reset();
      modems_.resumeSignal();
      break;
  }
}

void SignalPause::waitForModems(std::intptr_t argument) {
  waiting_ = argument;
  if (!modems_.takingBackSignal()) return allow();
  const auto over = [](sd_event_source*, std::uint64_t, void* self) {
    static_cast<SignalPause*>(self)->allow();
    return 0;
  };
  patience_ =
      startTimer(event_, CLOCK_MONOTONIC, std::chrono::microseconds(patienceTime_), over, this);
  if (!patience_) allow();
}

void SignalPause::allow() {
  patience_.reset();
  if (const auto argument = std::exchange(waiting_, std::nullopt)) {
    power_.allowPowerChange(registered_.connection, *argument);
  }
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/WakeTexts.h"

#include <utility>

namespace zorva {
namespace {

// The channel numbers mean nothing to the readers.
constexpr const char* kCallText = "Dlci 2 [call]: +XCALLSTAT: 1,4";
constexpr const char* kMessageText = "Dlci 5 [sms]: +CMTI";

}  // namespace

void WakeTexts::sleepBegins(const std::vector<std::string>& mobileInterfaces) {
  reset();
  listening_ = true;
  capture_.begin(mobileInterfaces, [this] { goOn(); });
}

void WakeTexts::awake(bool byModem, std::function<void()> proceed) {
  if (!byModem || heard_ != Heard::Nothing || capture_.caught()) return proceed();
  proceed_ = std::move(proceed);
  patience_ = runLoop_.startTimer(kPatience, [this] { goOn(); });
  if (!patience_) goOn();
}

void WakeTexts::heard(Heard what) {
  if (!listening_) return;
  if (heard_ == Heard::Nothing) heard_ = what;
  goOn();
}

void WakeTexts::goOn() {
  patience_.reset();
  if (const auto proceed = std::exchange(proceed_, nullptr)) proceed();
}

std::optional<std::string> WakeTexts::text() {
  // A packet that comes along with a call or a message is not what woke the device.
  if (heard_ == Heard::Call) return kCallText;
  if (heard_ == Heard::Message) return kMessageText;
  if (const auto packet = capture_.end()) packet_ = wakeText(*packet);
  return packet_;
}

void WakeTexts::reset() {
  listening_ = false;
  heard_ = Heard::Nothing;
  packet_.reset();
  proceed_ = nullptr;
  patience_.reset();
  capture_.end();
}

}  // namespace zorva

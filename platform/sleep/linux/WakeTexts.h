// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Registration.h"
#include "platform/loop/RunLoop.h"
#include "platform/sleep/linux/WakePacketCapture.h"

namespace zorva {

/// Finds out what the modem woke the device for, and returns it as the baseband's wake text: a call
/// that rings or a message that arrives in the first moments after the resume, or the packet that
/// came first. Between a wake and the next sleep nothing is captured and nothing is listened to.
class WakeTexts {
 public:
  /// How long after the resume the modem is given to report, in seconds: its own news of a call or
  /// a message takes some tenths of one.
  static constexpr double kPatience = 1.0;

  /// The run loop and its event loop.
  WakeTexts(RunLoop& runLoop, sd_event* event) : runLoop_(runLoop), capture_(event) {}

  /// The device goes to sleep: from here on, what arrives on the mobile interfaces counts.
  void sleepBegins(const std::vector<std::string>& mobileInterfaces);

  /// The device is awake. `proceed` is called once: at once when the modem did not wake it or when
  /// what it woke it for is known, else when that is known or patience ends.
  void awake(bool byModem, std::function<void()> proceed);

  /// The modem reported a call that rings, or of a message. Counts from sleepBegins() to reset().
  void callRings() { heard(Heard::Call); }
  void messageArrived() { heard(Heard::Message); }

  /// The text, or nothing when nothing was found. Good until reset().
  std::optional<std::string> text();

  /// The wake has been logged: forgets it and captures no more.
  void reset();

 private:
  enum class Heard { Nothing, Call, Message };

  void heard(Heard what);
  void goOn();

  RunLoop& runLoop_;
  WakePacketCapture capture_;
  bool listening_ = false;
  Heard heard_ = Heard::Nothing;
  std::optional<std::string> packet_;  ///< the packet's text, once it was asked for
  std::function<void()> proceed_;      ///< while a caller waits
  Registration patience_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "platform/loop/RunLoop.h"
#include "platform/loop/sim/SimClock.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// A run loop in virtual time: where a real one would wait, it moves the clock to what is due
/// next. What is due at the same moment happens in the order in which it was asked for.
///
/// Descriptors are real ones. After every step and timer they are polled, without waiting, until
/// none has anything to read, so what a step does to a file is seen before the next step.
class SimRunLoop : public RunLoop {
 public:
  using Duration = SimClock::Duration;

  SimRunLoop(SimParts& parts, SimClock& clock);

  Registration watchDescriptor(int descriptor, std::function<void()> ready) override;
  Registration startTimer(double seconds, std::function<void()> fire) override;

  /// Returns also when nothing is left that could happen.
  bool run() override;
  void stop() override { stopped_ = true; }

  /// What changes by itself as time passes.
  struct Passage {
    std::function<void()> begins;               ///< before anything is waited for; may plan steps
    std::function<void(Duration passed)> ends;  ///< before what is due then happens
  };
  void setPassage(Passage passage) { passage_ = std::move(passage); }

  /// Plans a step for the moment when `offset` has elapsed since the handset was made; at once when
  /// that is past.
  void schedule(Duration offset, std::function<void()> step);

  /// Lets everything happen that is due within the next `seconds`, and moves the clock there; less
  /// when stop() is called.
  void advance(double seconds);
  /// Lets the watched descriptors' callbacks run until there is nothing to read.
  void deliverDescriptors();

 private:
  /// Steps and timers, by the moment when they are due and then by their number.
  using Agenda = std::map<std::pair<Duration, std::uint64_t>, std::function<void()>>;
  struct Watch {
    int descriptor;
    std::function<void()> ready;
  };
  // Shared with the registrations, which may be dropped when the loop is gone already.
  struct Plans {
    Agenda agenda;
    std::map<std::uint64_t, Watch> watches;
  };

  Agenda::key_type plan(Duration due, std::function<void()> what);
  void runUntil(Duration end);
  void moveClock(Duration to);
  bool deliverDescriptorsOnce();

  SimClock& clock_;
  SimFaultPoint watchFault_;
  Passage passage_{[] {}, [](Duration) {}};
  std::shared_ptr<Plans> plans_ = std::make_shared<Plans>();
  std::uint64_t lastNumber_ = 0;
  bool stopped_ = false;
};

}  // namespace zorva

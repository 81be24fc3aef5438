// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <sys/types.h>
#include <systemd/sd-event.h>

#include "platform/base/Descriptor.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// The clock's time in nanoseconds.
std::int64_t clockTime(clockid_t clock);

/// How long the system has slept since it booted, in nanoseconds: the difference between the clock
/// that counts sleep and the one that does not.
std::int64_t timeSlept();
/// The clocks are not read at the same moment: a smaller difference of timeSlept() is no sleep.
constexpr std::int64_t kMinSleep = 1'000'000;  // nanoseconds

/// Calls back after the wall clock has jumped: it was set, or the system has resumed from a sleep.
/// The kernel reports both in the same way, by cancelling a timer. A sleep is reported when this
/// process runs again, before all that the loop delivers with its ordinary priority.
class ClockJumpWatch {
 public:
  /// Nothing when the kernel does not report it.
  static std::unique_ptr<ClockJumpWatch> make(sd_event* event, std::function<void()> jumped);
  ClockJumpWatch(const ClockJumpWatch&) = delete;  // the loop holds its address
  ClockJumpWatch& operator=(const ClockJumpWatch&) = delete;

 private:
  ClockJumpWatch(Descriptor timer, std::function<void()> jumped);
  bool arm() const;
  static int timerChanged(sd_event_source*, int, std::uint32_t, void* self);

  Descriptor timer_;
  std::function<void()> jumped_;
  EventSource source_;
};

}  // namespace zorva

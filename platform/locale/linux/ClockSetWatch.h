// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <systemd/sd-event.h>

#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// Calls back after the wall clock was set. Resuming from suspend, when the kernel also moves the
/// clock forward, does not count, nor do the adjustments of an NTP client; a step of less than a
/// millisecond is considered one of those.
class ClockSetWatch {
 public:
  /// Nothing if the kernel does not support it.
  static std::unique_ptr<ClockSetWatch> make(sd_event* event, std::function<void()> set);
  ClockSetWatch(const ClockSetWatch&) = delete;
  ClockSetWatch& operator=(const ClockSetWatch&) = delete;
  ~ClockSetWatch();

 private:
  ClockSetWatch(int timer, std::function<void()> set);
  bool arm() const;
  static int timerChanged(sd_event_source*, int, std::uint32_t, void* self);

  int timer_;
  std::function<void()> set_;
  std::int64_t offset_;  ///< offset of the wall clock from the time since boot, in nanoseconds
  EventSource source_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <systemd/sd-event.h>

#include "platform/kit/loop/ClockJumps.h"

namespace zorva {

/// Calls back after the wall clock was set. Waking from suspend, where the kernel moves the clock
/// forward too, is no setting, nor are the adjustments that keep the clock in step with a time
/// server; a step of less than a millisecond is taken for one of those.
class ClockSetWatch {
 public:
  /// Nothing when the kernel does not report it.
  static std::unique_ptr<ClockSetWatch> make(sd_event* event, std::function<void()> set);
  ClockSetWatch(const ClockSetWatch&) = delete;
  ClockSetWatch& operator=(const ClockSetWatch&) = delete;

 private:
  explicit ClockSetWatch(std::function<void()> set);
  void clockJumped();

  std::function<void()> set_;
  std::int64_t offset_;  ///< of the wall clock from the time since boot, in nanoseconds
  std::unique_ptr<ClockJumpWatch> jumps_;
};

}  // namespace zorva

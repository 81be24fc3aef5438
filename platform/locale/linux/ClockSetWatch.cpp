// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/linux/ClockSetWatch.h"

#include <cstdlib>
#include <limits>
#include <time.h>
#include <utility>

namespace zorva {
namespace {

constexpr std::int64_t kMinStep = 1'000'000;  // nanoseconds

// The two clocks can't be read at the same moment: of several tries the one counts that took least.
std::int64_t wallClockOffset() {
  std::int64_t offset = 0;
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (int i = 0; i < 5; ++i) {
    const std::int64_t before = clockTime(CLOCK_BOOTTIME);
    const std::int64_t wall = clockTime(CLOCK_REALTIME);
    const std::int64_t took = clockTime(CLOCK_BOOTTIME) - before;
    if (took < least) {
      least = took;
      offset = wall - before - took / 2;
    }
  }
  return offset;
}

}  // namespace

std::unique_ptr<ClockSetWatch> ClockSetWatch::make(sd_event* event, std::function<void()> set) {
  std::unique_ptr<ClockSetWatch> watch(new ClockSetWatch(std::move(set)));
  watch->jumps_ = ClockJumpWatch::make(event, [self = watch.get()] { self->clockJumped(); });
  return watch->jumps_ ? std::move(watch) : nullptr;
}

ClockSetWatch::ClockSetWatch(std::function<void()> set)
    : set_(std::move(set)), offset_(wallClockOffset()) {}

void ClockSetWatch::clockJumped() {
  const std::int64_t offset = wallClockOffset();
  if (std::llabs(offset - offset_) < kMinStep) return;
  offset_ = offset;
  const auto set = set_;
  set();
}

}  // namespace zorva

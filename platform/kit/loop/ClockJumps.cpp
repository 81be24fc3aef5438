// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/ClockJumps.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>
#include <utility>

namespace zorva {

std::int64_t clockTime(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Of several tries the least counts: anything that comes in between adds to it.
std::int64_t timeSlept() {
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (int i = 0; i < 5; ++i) {
    const std::int64_t awake = clockTime(CLOCK_MONOTONIC);
    least = std::min(least, clockTime(CLOCK_BOOTTIME) - awake);
  }
  return least;
}

std::unique_ptr<ClockJumpWatch> ClockJumpWatch::make(sd_event* event,
                                                     std::function<void()> jumped) {
  Descriptor timer(timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
  if (!timer) return nullptr;
  std::unique_ptr<ClockJumpWatch> watch(new ClockJumpWatch(std::move(timer), std::move(jumped)));
  sd_event_source* source = nullptr;
  if (!watch->arm() || sd_event_add_io(event, &source, watch->timer_.get(), EPOLLIN, timerChanged,
                                       watch.get()) < 0) {
    return nullptr;
  }
  watch->source_.reset(source);
  sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT);
  return watch;
}

ClockJumpWatch::ClockJumpWatch(Descriptor timer, std::function<void()> jumped)
    : timer_(std::move(timer)), jumped_(std::move(jumped)) {}

// A timer that never fires, but is cancelled when the clock jumps. One that was cancelled since it
// was last read is armed all the same.
bool ClockJumpWatch::arm() const {
  itimerspec never{};
  never.it_value.tv_sec = std::numeric_limits<time_t>::max();
  return timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never,
                         nullptr) == 0 ||
         errno == ECANCELED;
}

int ClockJumpWatch::timerChanged(sd_event_source*, int, std::uint32_t, void* self) {
  auto* watch = static_cast<ClockJumpWatch*>(self);
  std::uint64_t expirations = 0;
  if (::read(watch->timer_.get(), &expirations, sizeof(expirations)) < 0 && errno == EAGAIN) {
    return 0;
  }
  watch->arm();
  const auto jumped = watch->jumped_;  // it may destroy the watch
  jumped();
  return 0;
}

}  // namespace zorva

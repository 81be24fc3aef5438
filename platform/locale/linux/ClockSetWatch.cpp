// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/linux/ClockSetWatch.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>
#include <utility>

namespace zorva {
namespace {

constexpr std::int64_t kMinStep = 1'000'000;  // nanoseconds

std::int64_t nanoseconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// The two clocks can't be read at the same moment: of several tries the one counts that took least.
std::int64_t wallClockOffset() {
  std::int64_t offset = 0;
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (int i = 0; i < 5; ++i) {
    const std::int64_t before = nanoseconds(CLOCK_BOOTTIME);
    const std::int64_t wall = nanoseconds(CLOCK_REALTIME);
    const std::int64_t took = nanoseconds(CLOCK_BOOTTIME) - before;
    if (took < least) {
      least = took;
      offset = wall - before - took / 2;
    }
  }
  return offset;
}

}  // namespace

std::unique_ptr<ClockSetWatch> ClockSetWatch::make(sd_event* event, std::function<void()> set) {
  const int timer = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
  if (timer < 0) return nullptr;
  std::unique_ptr<ClockSetWatch> watch(new ClockSetWatch(timer, std::move(set)));
  sd_event_source* source = nullptr;
  if (!watch->arm() ||
      sd_event_add_io(event, &source, timer, EPOLLIN, timerChanged, watch.get()) < 0) {
    return nullptr;
  }
  watch->source_.reset(source);
  return watch;
}

ClockSetWatch::ClockSetWatch(int timer, std::function<void()> set)
    : timer_(timer), set_(std::move(set)), offset_(wallClockOffset()) {}

ClockSetWatch::~ClockSetWatch() {
  source_.reset();
  ::close(timer_);
}

// A timer that never fires, but is cancelled when the clock jumps.
bool ClockSetWatch::arm() const {
  itimerspec never{};
  never.it_value.tv_sec = std::numeric_limits<time_t>::max();
  return timerfd_settime(timer_, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr) == 0;
}

int ClockSetWatch::timerChanged(sd_event_source*, int, std::uint32_t, void* self) {
  auto* watch = static_cast<ClockSetWatch*>(self);
  std::uint64_t expirations = 0;
  if (::read(watch->timer_, &expirations, sizeof(expirations)) >= 0 || errno != ECANCELED) return 0;
  watch->arm();
  const std::int64_t offset = wallClockOffset();
  if (std::llabs(offset - watch->offset_) < kMinStep) return 0;
  watch->offset_ = offset;
  const auto set = watch->set_;
  set();
  return 0;
}

}  // namespace zorva

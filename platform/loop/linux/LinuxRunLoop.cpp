// SPDX-License-Identifier: Apache-2.0
#include "platform/loop/linux/LinuxRunLoop.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <system_error>
#include <time.h>

#include "platform/kit/loop/LinuxPathWatch.h"

namespace zorva {
namespace {

// An event source with its callback. Its registration owns it, and a callback that is under way
// too, so that the callback may drop its own registration.
class Source : public std::enable_shared_from_this<Source> {
 public:
  explicit Source(std::function<void()> callback) : callback_(std::move(callback)) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() { sd_event_source_disable_unref(source_); }

  sd_event_source** place() { return &source_; }

  static int ready(sd_event_source*, int, std::uint32_t, void* source) { return call(source); }
  static int fired(sd_event_source*, std::uint64_t, void* source) { return call(source); }

  static Registration registration(std::shared_ptr<Source> source) {
    return Registration([source = std::move(source)]() mutable {
      source->source_ = sd_event_source_disable_unref(source->source_);
      source.reset();
    });
  }

 private:
  static int call(void* source) {
    const auto self = static_cast<Source*>(source)->shared_from_this();
    self->callback_();
    return 0;
  }

  std::function<void()> callback_;
  sd_event_source* source_ = nullptr;
};

constexpr double kMaxTimer = 1e9;  // seconds: about thirty years, and far from any overflow

}  // namespace

LinuxRunLoop::LinuxRunLoop() {
  sd_event* event = nullptr;
  const int result = sd_event_new(&event);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "Cannot make an event loop");
  }
  event_.reset(event);
  // libelogind 246 aborts the process if the last inotify source of a priority is removed while an
  // event of that priority is handled. So a source of each priority stays, of a file that no path
  // watch is about.
  for (const std::int64_t priority :
       {std::int64_t{SD_EVENT_PRIORITY_NORMAL}, LinuxPathWatch::kContentsPriority}) {
    sd_event_source* source = nullptr;
    const auto ignore = [](sd_event_source*, const inotify_event*, void*) { return 0; };
    if (sd_event_add_inotify(event, &source, "/dev/null", IN_DELETE_SELF, ignore, nullptr) < 0) {
      continue;
    }
    inotify_.emplace_back(source);
    sd_event_source_set_priority(source, priority);
  }
}

Registration LinuxRunLoop::watchDescriptor(int descriptor, std::function<void()> ready) {
  auto source = std::make_shared<Source>(std::move(ready));
  if (sd_event_add_io(event(), source->place(), descriptor, EPOLLIN, &Source::ready, source.get()) <
      0) {
    return {};
  }
  return Source::registration(std::move(source));
}

Registration LinuxRunLoop::startTimer(double seconds, std::function<void()> fire) {
  auto source = std::make_shared<Source>(std::move(fire));
  // Not-a-number fails both comparisons and becomes 0.
  const double held = seconds > 0.0 ? std::min(seconds, kMaxTimer) : 0.0;
  const std::chrono::microseconds delay(static_cast<std::int64_t>(held * 1e6));
  *source->place() =
      zorva::startTimer(event(), CLOCK_BOOTTIME, delay, &Source::fired, source.get()).release();
  if (*source->place() == nullptr) return {};
  return Source::registration(std::move(source));
}

bool LinuxRunLoop::run() {
  stopped_ = false;
  while (!stopped_) {
    const int result = sd_event_run(event(), UINT64_MAX);
    if (result >= 0 || result == -EINTR) continue;
    std::fprintf(stderr, "zorva: the event loop has failed: %s\n", std::strerror(-result));
    return false;
  }
  return true;
}

}  // namespace zorva

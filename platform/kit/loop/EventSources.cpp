// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/EventSources.h"

#include <utility>

namespace zorva {
namespace {

int dispatch(sd_event_source*, void* call) {
  // A copy, because the call may destroy its owner.
  const auto copy = *static_cast<std::function<void()>*>(call);
  copy();
  return 0;
}

}  // namespace

EventSource startTimer(sd_event* event, clockid_t clock, std::chrono::microseconds delay,
                       sd_event_time_handler_t fired, void* userdata,
                       std::chrono::microseconds slack) {
  std::uint64_t now = 0;
  sd_event_source* source = nullptr;
  if (sd_event_now(event, clock, &now) < 0 ||
      sd_event_add_time(event, &source, clock, now + static_cast<std::uint64_t>(delay.count()),
                        static_cast<std::uint64_t>(slack.count()), fired, userdata) < 0) {
    return nullptr;
  }
  return EventSource(source);
}

CoalescedCall::CoalescedCall(sd_event* event, std::function<void()> call) : call_(std::move(call)) {
  sd_event_source* source = nullptr;
  if (sd_event_add_defer(event, &source, dispatch, &call_) < 0) return;
  source_.reset(source);
  sd_event_source_set_enabled(source, SD_EVENT_OFF);
  // After the sources of normal priority, which may request the call again.
  sd_event_source_set_priority(source, SD_EVENT_PRIORITY_NORMAL + 1);
}

void CoalescedCall::request() {
  if (source_) sd_event_source_set_enabled(source_.get(), SD_EVENT_ONESHOT);
}

}  // namespace zorva

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

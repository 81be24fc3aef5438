// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <systemd/sd-event.h>

namespace zorva {

struct EventSourceRelease {
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

/// Owns a source of the event loop. Dropping it ends the source at once, also from its own handler.
using EventSource = std::unique_ptr<sd_event_source, EventSourceRelease>;

/// One call for any number of requests: it is made when the loop has delivered everything else that
/// was ready, so that a burst of events is answered once.
class CoalescedCall {
 public:
  CoalescedCall(sd_event* event, std::function<void()> call);
  CoalescedCall(const CoalescedCall&) = delete;  // the loop holds its address
  CoalescedCall& operator=(const CoalescedCall&) = delete;

  /// Asks for the call. It comes from the loop, never from in here.
  void request();

 private:
  std::function<void()> call_;
  EventSource source_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <systemd/sd-event.h>

namespace zorva {

struct EventSourceRelease {
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

/// Owns a source of the event loop. Destroying it disables the source at once, even from its own
/// handler.
using EventSource = std::unique_ptr<sd_event_source, EventSourceRelease>;

/// Makes one call for any number of requests, after the loop has delivered all other ready events,
/// so that a burst of events is handled once.
class CoalescedCall {
 public:
  CoalescedCall(sd_event* event, std::function<void()> call);
  CoalescedCall(const CoalescedCall&) = delete;  // the loop keeps its address
  CoalescedCall& operator=(const CoalescedCall&) = delete;

  /// Requests the call. It is made from the loop, never from inside this function.
  void request();

 private:
  std::function<void()> call_;
  EventSource source_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <ctime>
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

/// A source that fires once, so long from now on the clock; null if it cannot be had. The slack is
/// how much later it may fire; 0 is the loop's own, 250 ms. (sd_event_add_time_relative() is
/// younger than some versions of libelogind.)
EventSource startTimer(sd_event* event, clockid_t clock, std::chrono::microseconds delay,
                       sd_event_time_handler_t fired, void* userdata,
                       std::chrono::microseconds slack = {});

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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/kit/loop/EventSources.h"
#include "platform/loop/RunLoop.h"

namespace zorva {

/// The run loop on sd-event. Idle, it sleeps in the kernel and makes no system call.
///
/// Timers count the time that the device sleeps, but do not wake it, and may fire up to 250 ms
/// late, so that the kernel can serve several wake-ups at once. A descriptor can be watched once at
/// a time, and regular files not at all.
class LinuxRunLoop : public RunLoop {
 public:
  /// Throws std::system_error when the kernel has no event queue to give.
  LinuxRunLoop();

  Registration watchDescriptor(int descriptor, std::function<void()> ready) override;
  Registration startTimer(double seconds, std::function<void()> fire) override;
  /// A failure is reported on standard error.
  bool run() override;
  void stop() override { stopped_ = true; }

  /// For services whose library brings its own event sources. Owned by the loop; sources that are
  /// still attached keep it alive.
  sd_event* event() const { return event_.get(); }

 private:
  struct Unref {
    void operator()(sd_event* event) const { sd_event_unref(event); }
  };
  std::unique_ptr<sd_event, Unref> event_;
  std::vector<EventSource> inotify_;
  bool stopped_ = false;
};

}  // namespace zorva

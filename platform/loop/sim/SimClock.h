// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "platform/loop/Clock.h"

namespace zorva {

/// Virtual time. What has elapsed since the handset was made only ever grows, and only the run loop
/// moves it; the wall clock can be set without the timers noticing, as on a real device.
class SimClock : public Clock {
 public:
  using Duration = std::chrono::microseconds;

  explicit SimClock(Date start) : zero_(start) {}

  Date now() const override { return zero_ + elapsed_; }
  Duration elapsed() const { return elapsed_; }

  /// Sets the wall clock. No observer is notified: SimLocaleInformation::setClock() does both.
  void set(Date date) { zero_ = date - elapsed_; }

 private:
  friend class SimRunLoop;
  Date zero_;  ///< what the wall clock would have shown when the handset was made
  Duration elapsed_{0};
};

}  // namespace zorva

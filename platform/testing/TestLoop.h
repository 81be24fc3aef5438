// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include "platform/loop/linux/LinuxRunLoop.h"

namespace zorva {

/// The event loop of a test.
class LoopForTest : public LinuxRunLoop {
 public:
  /// Delivers events until the condition is true. Only a failing test reaches the limit.
  void runUntil(const std::function<bool()>& condition) const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << "what the test waits for never comes";
      ASSERT_GE(sd_event_run(event(), 1'000'000), 0);
    }
  }

  /// Delivers the events that are ready now.
  void drain() const {
    // Zero may also be returned after a spurious wake-up of a source.
    for (int idle = 0; idle < 3;) {
      const int dispatched = sd_event_run(event(), 0);
      ASSERT_GE(dispatched, 0);
      idle = dispatched > 0 ? 0 : idle + 1;
    }
  }
};

}  // namespace zorva

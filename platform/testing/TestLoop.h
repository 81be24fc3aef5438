// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include "platform/loop/linux/LinuxRunLoop.h"

namespace zorva {

/// An event loop of a test's own.
class LoopForTest : public LinuxRunLoop {
 public:
  /// Delivers events until the condition holds. The limit is only reached by a test that fails.
  void runUntil(const std::function<bool()>& condition) const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << "what the test waits for never comes";
      ASSERT_GE(sd_event_run(event(), 1'000'000), 0);
    }
  }

  /// Delivers what is ready now.
  void drain() const {
    // Zero may also mean that a source had been woken for nothing.
    for (int idle = 0; idle < 3;) {
      const int dispatched = sd_event_run(event(), 0);
      ASSERT_GE(dispatched, 0);
      idle = dispatched > 0 ? 0 : idle + 1;
    }
  }
};

}  // namespace zorva

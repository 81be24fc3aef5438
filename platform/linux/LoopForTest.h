#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <systemd/sd-event.h>

namespace zorva {

/// An event loop of a test's own.
class LoopForTest {
 public:
  LoopForTest() {
    sd_event* event = nullptr;
    EXPECT_GE(sd_event_new(&event), 0);
    event_.reset(event);
  }

  sd_event* event() const { return event_.get(); }

  /// Delivers events until the condition holds. The limit is only reached by a test that fails.
  void runUntil(const std::function<bool()>& condition) const {
    while (!condition()) {
      const int dispatched = sd_event_run(event_.get(), 20'000'000);
      ASSERT_GT(dispatched, 0) << "what the test waits for does not come";
    }
  }

  /// Delivers what is ready now.
  void drain() const {
    while (sd_event_run(event_.get(), 0) > 0) {
    }
  }

 private:
  struct Release {
    void operator()(sd_event* event) const { sd_event_unref(event); }
  };
  std::unique_ptr<sd_event, Release> event_;
};

}  // namespace zorva

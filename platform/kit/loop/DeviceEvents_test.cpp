// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/DeviceEvents.h"

#include <fstream>
#include <gtest/gtest.h>

#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

// The kernel's own events, or a device manager's where one runs.
TEST(DeviceEvents, ArriveWithAndWithoutADeviceManager) {
  const auto trigger = [](const char* action) {
    std::ofstream file("/sys/class/net/lo/uevent");
    return static_cast<bool>(file << action << std::flush);
  };
  if (!trigger("change")) GTEST_SKIP() << "only root may cause an event";
  LoopForTest loop;
  std::string seen;
  DeviceEvents events([&](const DeviceEvent& event) {
    const char* const interface = event.value("INTERFACE");
    const char* const none = event.value("INTER");
    seen += std::string(event.action) + " " + std::string(event.subsystem) + " " + event.path +
            " " + event.name() + " " + (interface ? interface : "none") + (none ? none : "") + "\n";
  });
  ASSERT_TRUE(events.listen("power_supply"));
  ASSERT_TRUE(events.attach(loop.event()));
  trigger("change");  // of a class that nobody listens to
  loop.drain();
  EXPECT_EQ(seen, "");
  ASSERT_TRUE(events.listen("net"));
  trigger("change");
  loop.runUntil([&] { return !seen.empty(); });
  EXPECT_EQ(seen, "change net /sys/devices/virtual/net/lo lo lo\n");
}

}  // namespace
}  // namespace zorva

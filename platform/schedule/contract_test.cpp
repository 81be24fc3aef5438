// SPDX-License-Identifier: Apache-2.0
// What the list of planned power events promises, on the simulated handset and on this machine.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/kit/bus/BusProperties.h"
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr std::chrono::sys_seconds kNow{std::chrono::seconds(1'000'000'000)};

// Each world has no list at first.
struct SimWorld {
  SimHandset handset;
  SimScheduledPowerEvents& events = handset.scheduledEvents();
  SimWorld() { events.removeList(); }
  void plan(int seconds, const std::string& type) {
    events.add({{"time", Date(kNow + std::chrono::seconds(seconds))},
                {"eventtype", type},
                {"scheduledby", "someone"}});
  }
  void cancelAll() { events.remove("someone"); }
};

// Alarms of clocks, and the login manager's one event of another kind.
struct LinuxWorld {
  struct : Clock {
    Date now() const override { return kNow; }
  } clock;
  LoopForTest loop;
  DirectoryForTest sysfs;
  PrivateBusForTest bus;
  LinuxBus client{loop.event(), bus.address(), std::chrono::seconds(5)};
  LinuxScheduledPowerEvents events{client, clock, sysfs / "", [] { return 0; }};
  std::unique_ptr<ChildForTest> logind;
  int clocks = 0;
  LinuxWorld() {
    bus.start();
    loop.runUntil([&] { return client.connected(); });
    logind = bus.startService(kLoginService, kLoginPath, kLoginManager);
  }
  void plan(int seconds, const std::string& type) {
    const auto due = kNow + std::chrono::seconds(seconds);
    if (type == "wake") {
      setAlarm(clocks++, std::to_string(due.time_since_epoch().count()));
    } else {
      setShutdown("AddProperty", bus.kMock, "reboot", due.time_since_epoch() / Date::duration(1));
    }
  }
  void cancelAll() {
    while (clocks > 0) setAlarm(--clocks, "");
    setShutdown("Set", "org.freedesktop.DBus.Properties", "", ~std::uint64_t{0});
  }
  void setAlarm(int number, const std::string& time) {
    sysfs.write("class/rtc/rtc" + std::to_string(number) + "/wakealarm", time + "\n");
  }
  void setShutdown(const char* how, const char* interface, const char* type, std::uint64_t usec) {
    ASSERT_GE(bus.call(kLoginService, kLoginPath, interface, how, "ssv", kLoginManager,
                       "ScheduledShutdown", "(st)", type, usec),
              0);
  }
};

template <typename World>
class ScheduleContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ScheduleContract, Worlds);

TYPED_TEST(ScheduleContract, TheEarliestComesFirstAndAnEmptyListIsAList) {
  TypeParam world;
  EXPECT_FALSE(world.events.copyScheduledPowerEvents());
  for (const int seconds : {600, 300, 900, 600}) world.plan(seconds, "wake");
  world.plan(400, "restart");
  const auto events = world.events.copyScheduledPowerEvents();
  ASSERT_TRUE(events);
  std::vector<std::pair<std::int64_t, std::string>> planned;
  for (const Dictionary& event : *events) {
    const auto time = event["time"].date().value_or(Date());
    planned.emplace_back((time - kNow) / std::chrono::seconds(1),
                         event["eventtype"].text().value_or(""));
    EXPECT_NE(event["scheduledby"].text().value_or(""), "");
  }
  EXPECT_EQ(planned,
            (decltype(planned){
                {300, "wake"}, {400, "restart"}, {600, "wake"}, {600, "wake"}, {900, "wake"}}));
  world.cancelAll();
  const auto none = world.events.copyScheduledPowerEvents();
  EXPECT_TRUE(none && none->empty());
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
// What the list of planned power events promises, on the simulated handset and on this machine.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/kit/bus/BusProperties.h"
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"
#include "platform/system/linux/LinuxProfileSettings.h"
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
  LinuxBus client{loop.event(), bus.address(), std::chrono::milliseconds(500)};
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
      setShutdown("reboot", due.time_since_epoch() / Date::duration(1));
    }
  }
  void cancelAll() {
    while (clocks > 0) setAlarm(--clocks, "");
    setShutdown("", ~std::uint64_t{0});
  }
  void setAlarm(int number, const std::string& time) {
    sysfs.write("class/rtc/rtc" + std::to_string(number) + "/wakealarm", time + "\n");
  }
  void setShutdown(const char* type, std::uint64_t usec) {
    set("ScheduledShutdown", "(st)", type, usec);
  }
  // A property of the login manager.
  template <typename... Content>
  void set(const char* name, const char* type, Content... content) {
    const auto call = [&](const char* interface, const char* member) {
      return bus.call(kLoginService, kLoginPath, interface, member, "ssv", kLoginManager, name,
                      type, content...);
    };
    ASSERT_TRUE(call(bus.kMock, "AddProperty") >= 0 ||
                call("org.freedesktop.DBus.Properties", "Set") >= 0);
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

// One of the timers has no object: to be asked about it the manager answers with an error.
constexpr const char* kServiceManager = R"(
import dbus
BUS_NAME = 'org.freedesktop.systemd1'
MAIN_OBJ = '/org/freedesktop/systemd1'
MAIN_IFACE = 'org.freedesktop.systemd1.Manager'
SYSTEM_BUS = True
NEVER = 2**64 - 1
TIMERS = [('calendar', True, 1000001000, 0), ('asleep', False, 1000000001, 1),
          ('both', True, 1000007200, 3600), ('sooner', True, 1000002000, 3600),
          ('never', True, NEVER, NEVER),
          ('unset', True, 0, 0), ('boot', True, NEVER, 60), ('gone', None, 0, 0),
          ('behind', True, 1000000005, 0)]
def load(mock, parameters):
    for name, wakes, realtime, monotonic in TIMERS:
        if wakes is not None:
            mock.AddObject(MAIN_OBJ + '/unit/' + name, 'org.freedesktop.systemd1.Timer', {
                'Unit': name + '.service', 'WakeSystem': dbus.Boolean(wakes),
                'NextElapseUSecMonotonic':
                    dbus.UInt64(min(monotonic * 1000000 + 500, NEVER) if monotonic else 0),
                'NextElapseUSecRealtime': dbus.UInt64(min(realtime * 1000000, NEVER))}, [])
@dbus.service.method(MAIN_IFACE, in_signature='asas', out_signature='a(ssssssouso)')
def ListUnitsByPatterns(self, states, patterns):
    assert (list(states), list(patterns)) == (['active'], ['*.timer'])
    return [(name + '.timer', 'a', 'loaded', 'active', 'waiting', '', MAIN_OBJ + '/unit/' + name,
             0, '', '/') for name, *_ in TIMERS]
)";

TEST(LinuxScheduledPowerEventsTest, ListsAlarmsShutdownsAndTimersOfEveryKind) {
  LinuxWorld world;
  using Lines = std::vector<std::string>;
  const auto events = [&] {
    Lines lines;
    const auto list = world.events.copyScheduledPowerEvents();
    for (const Dictionary& event : list.value()) {
      const auto time = std::chrono::round<std::chrono::seconds>(*event["time"].date() - kNow);
      lines.push_back(std::to_string(time.count()) + " " + event["eventtype"].description() + " " +
                      event["scheduledby"].description());
    }
    return lines;
  };
  // Clocks in UTC, in local time two hours ahead, with an alarm that is off, and damaged ones.
  for (const auto& [file, text] : {std::pair("0/name", "rtc_cmos rtc_cmos\n"),
                                   {"0/wakealarm", "1000000600\n"},
                                   {"0/since_epoch", "999999999\n"},
                                   {"1/wakealarm", "1000007500\n"},
                                   {"1/since_epoch", "1000007200\n"},
                                   {"2/wakealarm", "\n"},
                                   {"3/wakealarm", "9999999999999999\n"},
                                   {"4/wakealarm", "1000000007x\n"}}) {
    world.sysfs.write(std::string("class/rtc/rtc") + file, text);
  }
  const Lines alarms{"300 wake rtc1", "600 wake rtc0 (rtc_cmos)"};
  EXPECT_EQ(events(), alarms) << "a login manager that knows no planned shutdown";
  constexpr std::uint64_t kSoon = 1'000'000'400'000'000;
  const struct {
    const char* type;
    std::uint64_t usec;
    const char* reported;
  } shutdowns[] = {{"poweroff", kSoon, "400 shutdown logind"},
                   {"halt", kSoon, "400 shutdown logind"},
                   {"reboot", kSoon, "400 restart logind"},
                   {"kexec", kSoon, "400 restart logind"},
                   {"soft-reboot", kSoon, "400 restart logind"},
                   {"dry-reboot", kSoon, ""},
                   {"", ~0ULL, ""},
                   {"reboot", ~0ULL, ""}};
  for (const auto& each : shutdowns) {
    world.setShutdown(each.type, each.usec);
    Lines expected = alarms;
    if (*each.reported) expected.insert(expected.begin() + 1, each.reported);
    EXPECT_EQ(events(), expected) << each.type;
  }
  world.sysfs.write("service.py", kServiceManager);
  const auto manager =
      runProgram({"/usr/bin/python3", "-m", "dbusmock", "--system", "--logfile=/dev/null",
                  "--template", world.sysfs / "service.py"});
  const Lines all{"5 wake behind.timer",      "60 wake boot.timer",       "300 wake rtc1",
                  "600 wake rtc0 (rtc_cmos)", "1000 wake calendar.timer", "2000 wake sooner.timer",
                  "3600 wake both.timer"};
  for (int tries = 0; tries < 1000 && events() != all; ++tries) usleep(20'000);
  EXPECT_EQ(events(), all);
}

TEST(LinuxProfileSettingsTest, LocksAfterTheLoginManagersIdleTime) {
  LinuxWorld world;
  LinuxProfileSettings settings(world.client);
  EXPECT_TRUE(settings.effectiveValue(kAutoLockTime).isNothing());
  world.set("IdleActionUSec", "t", std::uint64_t{1'800'999'999});
  for (const auto& [action, time] :
       {std::pair("suspend", "1800"), {"ignore", "(null)"}, {"lock", "1800"}}) {
    world.set("IdleAction", "s", action);
    EXPECT_EQ(settings.effectiveValue(kAutoLockTime).description(), time) << action;
  }
  EXPECT_TRUE(settings.effectiveValue("other").isNothing());
  world.set("IdleActionUSec", "t", ~std::uint64_t{0});
  EXPECT_TRUE(settings.effectiveValue(kAutoLockTime).isNothing());
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"

#include <gtest/gtest.h>

#include "platform/kit/bus/BusProperties.h"
#include "platform/system/linux/LinuxProfileSettings.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr const char* kLogind = R"(
BUS_NAME = 'org.freedesktop.login1'
MAIN_OBJ = '/org/freedesktop/login1'
MAIN_IFACE = 'org.freedesktop.login1.Manager'
SYSTEM_BUS = True
def load(mock, parameters):
    pass
)";

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

class LinuxScheduledPowerEventsTest : public testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  std::unique_ptr<ChildForTest> start(const char* service, const std::string& code) {
    directory_.write("service.py", code);
    auto child = runProgram({"/usr/bin/python3", "-m", "dbusmock", "--system",
                             "--logfile=/dev/null", "--template", directory_ / "service.py"});
    const std::string name = std::string("org.freedesktop.") + service;
    for (int tries = 0; tries < 1000; ++tries) {
      if (private_.call(name, "/", "org.freedesktop.DBus.Peer", "Ping", "") >= 0) return child;
      usleep(20'000);
    }
    ADD_FAILURE() << name << " does not come up";
    return child;
  }
  // A property of the login manager.
  template <typename... Content>
  void set(const char* name, const char* type, Content... content) {
    const auto call = [&](const char* interface, const char* member) {
      return private_.call(kLoginService, kLoginPath, interface, member, "ssv", kLoginManager, name,
                           type, content...);
    };
    ASSERT_TRUE(call(private_.kMock, "AddProperty") >= 0 ||
                call("org.freedesktop.DBus.Properties", "Set") >= 0);
  }
  Lines events() {
    const auto list = events_.copyScheduledPowerEvents();
    Lines lines;
    for (const Dictionary& event : list.value_or(std::vector<Dictionary>())) {
      const auto time = event["time"].date()->time_since_epoch() - std::chrono::seconds(kNow);
      lines.push_back(std::to_string(std::chrono::round<std::chrono::seconds>(time).count()) + " " +
                      event["eventtype"].description() + " " + event["scheduledby"].description());
    }
    return lines;
  }

  static constexpr std::int64_t kNow = 1'000'000'000;
  struct : Clock {
    Date now() const override { return Date(std::chrono::seconds(kNow)); }
  } clock_;
  LoopForTest loop_;
  DirectoryForTest directory_;
  PrivateBusForTest private_;
  LinuxBus bus_{loop_.event(), private_.address(), std::chrono::milliseconds(500)};
  LinuxScheduledPowerEvents events_{bus_, clock_, directory_ / "", [] { return 0; }};
  LinuxProfileSettings settings_{bus_};
};

TEST_F(LinuxScheduledPowerEventsTest, ListsWhatIsPlannedTheEarliestFirst) {
  EXPECT_TRUE(settings_.effectiveValue(kAutoLockTime).isNothing());
  // Clocks in UTC, in local time two hours ahead, with an alarm that is off, and damaged ones.
  directory_.write("class/rtc/rtc0/name", "rtc_cmos rtc_cmos\n");
  directory_.write("class/rtc/rtc0/wakealarm", "1000000600\n");
  directory_.write("class/rtc/rtc0/since_epoch", "999999999\n");
  directory_.write("class/rtc/rtc1/wakealarm", "1000007500\n");
  directory_.write("class/rtc/rtc1/since_epoch", "1000007200\n");
  directory_.write("class/rtc/rtc2/wakealarm", "\n");
  directory_.write("class/rtc/rtc3/wakealarm", "9999999999999999\n");
  directory_.write("class/rtc/rtc4/wakealarm", "1000000007x\n");
  const Lines alarms{"300 wake rtc1", "600 wake rtc0 (rtc_cmos)"};
  EXPECT_EQ(events(), alarms);

  private_.start();
  loop_.runUntil([&] { return bus_.connected(); });
  const auto logind = start("login1", kLogind);
  EXPECT_EQ(events(), alarms) << "a login manager that knows no planned shutdown";
  const struct {
    const char* type;
    std::uint64_t usec;
    const char* reported;
  } shutdowns[] = {{"poweroff", 1'000'000'400'000'000, "400 shutdown logind"},
                   {"halt", 1'000'000'400'000'000, "400 shutdown logind"},
                   {"reboot", 1'000'000'400'000'000, "400 restart logind"},
                   {"kexec", 1'000'000'400'000'000, "400 restart logind"},
                   {"soft-reboot", 1'000'000'400'000'000, "400 restart logind"},
                   {"dry-reboot", 1'000'000'400'000'000, ""},
                   {"", ~0ULL, ""},
                   {"reboot", ~0ULL, ""}};
  for (const auto& each : shutdowns) {
    set("ScheduledShutdown", "(st)", each.type, each.usec);
    Lines expected = alarms;
    if (*each.reported) expected.insert(expected.begin() + 1, each.reported);
    EXPECT_EQ(events(), expected) << each.type;
  }

  const auto manager = start("systemd1", kServiceManager);
  EXPECT_EQ(events(), Lines({"5 wake behind.timer", "60 wake boot.timer", "300 wake rtc1",
                             "600 wake rtc0 (rtc_cmos)", "1000 wake calendar.timer",
                             "2000 wake sooner.timer", "3600 wake both.timer"}));
}

TEST_F(LinuxScheduledPowerEventsTest, LocksAfterTheLoginManagersIdleTime) {
  private_.start();
  loop_.runUntil([&] { return bus_.connected(); });
  const auto logind = start("login1", kLogind);
  set("IdleActionUSec", "t", std::uint64_t{1'800'999'999});
  const auto time = [&](const char* action) {
    set("IdleAction", "s", action);
    return settings_.effectiveValue(kAutoLockTime).description();
  };
  EXPECT_EQ(time("suspend"), "1800");
  EXPECT_EQ(time("ignore"), "(null)");
  EXPECT_EQ(time("lock"), "1800");
  EXPECT_TRUE(settings_.effectiveValue("other").isNothing());
  set("IdleActionUSec", "t", ~std::uint64_t{0});
  EXPECT_EQ(time("lock"), "(null)");
}

}  // namespace
}  // namespace zorva

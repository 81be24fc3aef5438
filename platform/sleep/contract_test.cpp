// SPDX-License-Identifier: Apache-2.0
// What the messages of sleep and wake and the kernel's values promise, on the simulated handset and
// on this machine.

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/kit/bus/BusProperties.h"
#include "platform/sleep/linux/LinuxKernelValues.h"
#include "platform/sleep/linux/LinuxSuspendRecords.h"
#include "platform/sleep/linux/LinuxSystemPower.h"
#include "platform/testing/ClockJump.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

struct SimWorld {
  SimHandset handset;
  SimSystemPower& power = handset.systemPower();
  void sleep() { power.sleep(); }
  void failToSleep() { power.send(static_cast<std::uint32_t>(PowerMessage::WillNotSleep)); }
  void wake() { power.wake(std::nullopt); }
  void wakeFromUnannouncedSleep() { wake(); }
  // Whether the sleep that was announced last is held up.
  bool waits() {
    handset.systemLog().takeLines();
    handset.runLoop().advance(SimSystemPower::kLimitSeconds + 1);
    return !handset.systemLog().takeLines().empty();
  }
};
struct LinuxWorld {
  LoopForTest loop;
  PrivateBusForTest bus;
  std::unique_ptr<ChildForTest> logind;
  bool waiting = false, signalled = false;
  int attempts = 0;
  LinuxBus client{loop.event(), bus.address(), std::chrono::seconds(5)};
  DirectoryForTest sysfs;
  std::int64_t slept = 0;
  LinuxSystemPower power{loop.event(),
                         client,
                         {[this] { waiting = false; }, {}, {}, {}},
                         {sysfs / "", [this] { return slept; }, std::chrono::seconds(1)}};
  Registration signals = client.observeSignals("type='signal',member='PrepareForSleep'",
                                               [this](sd_bus_message*) { signalled = true; });
  LinuxWorld() {
    bus.start();
    loop.runUntil([&] { return client.connected(); });
    logind = bus.startService(kLoginService, kLoginPath, kLoginManager);
    for (const char* result : {"success", "fail"}) {
      sysfs.write(std::string("power/suspend_stats/") + result, "0\n");
    }
    loop.drain();
  }
  void sleep() {
    waiting = true;
    prepare(1);
  }
  void wake() { end("success"); }
  void failToSleep() { end("fail"); }
  void end(const std::string& result) {
    sysfs.write("power/suspend_stats/" + result, std::to_string(++attempts) + "\n");
    prepare(0);
  }
  void wakeFromUnannouncedSleep() {
    slept += 1'000'000'000;
    jumpClock();
    loop.drain();
  }
  bool waits() const { return waiting; }
  void prepare(int sleep) {
    ASSERT_GE(bus.call(kLoginService, kLoginPath, bus.kMock, "EmitSignal", "sssav", kLoginManager,
                       "PrepareForSleep", "b", 1, "b", sleep),
              0);
    loop.runUntil([&] { return std::exchange(signalled, false); });
  }
};

template <typename World>
class SystemPowerContract : public testing::Test {
 protected:
  struct Listener {
    SystemPower::Registered handles{};
    Registration source{};
    std::intptr_t argument = 0;  ///< of the last sleep
    std::function<void()> slept{};
  };
  // Whether it may sleep everyone allows at once.
  void listen(const std::string& name, Listener& listener) {
    listener.handles = world.power.registerForSystemPower(
        [this, name, &listener](std::uint32_t type, std::intptr_t argument) {
          if (type == static_cast<std::uint32_t>(PowerMessage::CanSleep)) {
            return allow(listener, argument);
          }
          const bool sleep = type == static_cast<std::uint32_t>(PowerMessage::WillSleep);
          const bool wake = type == static_cast<std::uint32_t>(PowerMessage::HasPoweredOn);
          EXPECT_TRUE(sleep || wake ||
                      type == static_cast<std::uint32_t>(PowerMessage::WillNotSleep));
          heard.push_back(name + (sleep ? " sleep" : wake ? " wake" : " stays awake"));
          if (!sleep) return;
          listener.argument = argument;
          if (listener.slept) listener.slept();
        });
    ASSERT_NE(listener.handles.connection, 0u);
  }
  void listenOnLoop(const std::string& name, Listener& listener) {
    listen(name, listener);
    listener.source = listener.handles.port->addSourceToRunLoop();
    ASSERT_TRUE(listener.source);
  }
  void allow(const Listener& listener, std::intptr_t argument) {
    world.power.allowPowerChange(listener.handles.connection, argument);
  }
  void drop(Listener& listener) {
    listener.source.reset();
    world.power.deregisterForSystemPower(listener.handles.notifier);
    listener.handles.port.reset();
    world.power.closeConnection(listener.handles.connection);
  }
  Lines afterANight() {
    world.sleep();
    world.wake();
    return std::exchange(heard, {});
  }
  World world;
  Lines heard;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(SystemPowerContract, Worlds);

TYPED_TEST(SystemPowerContract, MessagesComeWhileThePortsSourceIsOnTheRunLoop) {
  typename TestFixture::Listener a, b;
  this->listen("a", a);
  EXPECT_EQ(this->afterANight(), Lines{});
  a.source = a.handles.port->addSourceToRunLoop();
  this->listenOnLoop("b", b);
  EXPECT_EQ(this->afterANight(), (Lines{"a sleep", "b sleep", "a wake", "b wake"}));
  a.source.reset();
  EXPECT_EQ(this->afterANight(), (Lines{"b sleep", "b wake"}));
  a.source = a.handles.port->addSourceToRunLoop();
  this->world.power.deregisterForSystemPower(b.handles.notifier);
  EXPECT_EQ(b.handles.notifier, 0u);
  EXPECT_EQ(this->afterANight(), (Lines{"a sleep", "a wake"}));
  a.handles.port.reset();
  EXPECT_EQ(this->afterANight(), Lines{});
}

TYPED_TEST(SystemPowerContract, TheSystemWaitsUntilEveryListenerHasAllowedTheChangeOrLeft) {
  typename TestFixture::Listener a, b;
  a.slept = [&] { this->allow(a, a.argument); };
  this->listenOnLoop("a", a);
  this->listenOnLoop("b", b);
  this->world.sleep();
  const std::intptr_t first = b.argument;
  this->allow(b, first);
  EXPECT_FALSE(this->world.waits());
  this->world.wake();
  this->world.sleep();
  this->allow(b, first);       // of the sleep before
  this->allow(a, b.argument);  // by another
  EXPECT_TRUE(this->world.waits());
  this->world.wake();
  a.slept = [&] {
    this->drop(a);
    this->drop(b);
  };
  this->heard.clear();
  this->world.sleep();
  EXPECT_FALSE(this->world.waits());
  this->world.wake();
  EXPECT_EQ(this->heard, Lines{"a sleep"});
}

TYPED_TEST(SystemPowerContract, ASleepThatFailsIsNoWakeAndAWakeNeedsNoAnnouncement) {
  typename TestFixture::Listener a;
  a.slept = [&] { this->allow(a, a.argument); };
  this->listenOnLoop("a", a);
  this->world.sleep();
  this->world.failToSleep();
  EXPECT_FALSE(this->world.waits());
  this->world.wakeFromUnannouncedSleep();
  this->world.sleep();
  this->world.wake();
  EXPECT_EQ(this->heard, (Lines{"a sleep", "a stays awake", "a wake", "a sleep", "a wake"}));
}

struct SimKernel {
  SimHandset handset;
  SimKernelValues& values = handset.kernel();
  SimKernel() { values.setText("kern.bootargs", std::nullopt); }
  void setBootArguments(const std::string& text) { values.setText("kern.bootargs", text); }
  void wakeFor(const std::optional<std::string>& reason) { handset.systemPower().wake(reason); }
};
struct LinuxKernel {
  DirectoryForTest root;
  LinuxKernelValues values{{}, root / "", root / ""};
  void setBootArguments(const std::string& text) { root.write("cmdline", text + "\n"); }
  void wakeFor(const std::optional<std::string>& reason) {
    values.systemWillSleep();
    std::filesystem::remove_all(root / "kernel");
    if (reason) root.write("kernel/wakeup_reasons/last_resume_reason", *reason + "\n");
    values.systemDidWake(true);
  }
};
template <typename Kernel>
class KernelValuesContract : public testing::Test {};
using Kernels = testing::Types<SimKernel, LinuxKernel>;
TYPED_TEST_SUITE(KernelValuesContract, Kernels);

TYPED_TEST(KernelValuesContract, ATextFillsNoMoreThanTheBuffer) {
  TypeParam kernel;
  std::size_t size = 0, filled = 0;
  std::string buffer;
  const auto read = [&](const char* name, std::size_t room) {
    buffer = "###############";
    const int result = kernel.values.read(name, std::span(buffer).first(room), filled);
    return result == 0 ? buffer : std::to_string(result);
  };
  for (const char* name : {"kern.wakereason", "kern.bootargs", "kern.other"}) {
    EXPECT_EQ(kernel.values.sizeOf(name, size), ENOENT);
    EXPECT_EQ(read(name, 9), std::to_string(ENOENT));
  }
  kernel.setBootArguments("quiet one");
  for (const char* reason : {"57 wifi", "8 rtc"}) {  // a new one each time
    kernel.wakeFor(reason);
    EXPECT_EQ(kernel.values.sizeOf("kern.wakereason", size), 0);
    EXPECT_EQ(read("kern.wakereason", 15).substr(0, filled), reason + std::string(1, '\0'));
    EXPECT_EQ(filled, size);
  }
  EXPECT_EQ(kernel.values.sizeOf("kern.bootargs", size), 0);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(read("kern.bootargs", 12), std::string("quiet one\0#####", 15));
  EXPECT_EQ(read("kern.bootargs", 9), "quiet one######");
  EXPECT_EQ(filled, 9u);
  EXPECT_EQ(read("kern.bootargs", 0), "###############");
  kernel.wakeFor(std::nullopt);
  EXPECT_EQ(kernel.values.sizeOf("kern.wakereason", size), ENOENT);
}

// The records of sleeps: in each world the same totals.
struct SimRecords {
  SimHandset handset;
  SuspendRecords& records = handset.suspendRecords();
  void set(bool) {
    SuspendTotals& totals = handset.suspendRecords().totals.emplace();
    totals.mode = "s2idle";
    totals.inHardware = std::chrono::microseconds(34'293'000'000);
    handset.suspendRecords().fail("suspend", "usb1", 16);
    handset.suspendRecords().source("rtc") = {"rtc", "rtc", 3, std::chrono::milliseconds(1200)};
  }
};
struct LinuxRecords {
  DirectoryForTest sysfs;
  LinuxSuspendRecords records{sysfs / "", [] { return 5'999'999; }};
  // A sleep of 9.5 hours, which the kernel's own sum on Intel's processors has cut to 32 bits.
  void set(bool intel) {
    const std::string power = "power/", stats = power + "suspend_stats/";
    if (intel) {
      sysfs.write("devices/system/cpu/cpuidle/low_power_idle_system_residency_us", "34293000000\n");
    }
    sysfs.write(stats + "max_hw_sleep", intel ? "4294967295\n" : "18446744073709551615\n");
    sysfs.write(stats + "total_hw_sleep", intel ? "4228261632\n" : "34293000000\n");
    sysfs.write(power + "mem_sleep", "[s2idle] deep\n");
    for (const auto& [name, text] : {std::pair("fail", "1\n"),
                                     {"failed_suspend", "1\n"},
                                     {"last_failed_step", "suspend\n"},
                                     {"last_failed_dev", "usb1\n"},
                                     {"last_failed_errno", "-16\n"}}) {
      sysfs.write(stats + name, text);
    }
    sysfs.write("class/wakeup/wakeup3/name", "rtc\n");
    sysfs.write("class/wakeup/wakeup3/event_count", "3\n");
    sysfs.write("class/wakeup/wakeup3/prevent_suspend_time_ms", "1200\n");
  }
};

template <typename World>
class SuspendRecordsContract : public testing::Test {};
using RecordWorlds = testing::Types<SimRecords, LinuxRecords>;
TYPED_TEST_SUITE(SuspendRecordsContract, RecordWorlds);

TYPED_TEST(SuspendRecordsContract, TotalsAreWhatTheKernelKeeps) {
  for (const bool intel : {false, true}) {
    TypeParam world;
    EXPECT_FALSE(world.records.read());
    world.set(intel);
    const auto totals = world.records.read();
    ASSERT_TRUE(totals);
    EXPECT_EQ(totals->inHardware, std::chrono::microseconds(34'293'000'000));
    EXPECT_EQ(totals->maxInHardware, std::chrono::microseconds::max());
    EXPECT_LE(totals->asleep, std::chrono::milliseconds(5));
    EXPECT_EQ(totals->mode, "s2idle");
    EXPECT_EQ(totals->failures, 1);
    EXPECT_EQ(totals->failedSteps.at("suspend"), 1);
    EXPECT_EQ(totals->lastFailedStep + " " + totals->lastFailedDevice, "suspend usb1");
    EXPECT_EQ(totals->lastFailedError, 16);
    ASSERT_EQ(totals->sources.size(), 1u);
    EXPECT_EQ(totals->sources[0].name, "rtc");
    EXPECT_EQ(totals->sources[0].events, 3);
    EXPECT_EQ(totals->sources[0].blocked, std::chrono::milliseconds(1200));
  }
}

TEST(LinuxSuspendRecords, HardwareThatNobodyReportsIsUnknownAndALimitStays) {
  LinuxRecords world;
  world.set(false);
  world.sysfs.write("power/suspend_stats/max_hw_sleep", "4294967295\n");
  EXPECT_EQ(world.records.read()->maxInHardware, std::chrono::microseconds(4294967295));
  world.sysfs.write("power/suspend_stats/max_hw_sleep", "0\n");
  EXPECT_FALSE(world.records.read()->inHardware);
  world.sysfs.write("class/wakeup/wakeup4/name", "half gone\n");
  EXPECT_EQ(world.records.read()->sources.size(), 1u);
}

}  // namespace
}  // namespace zorva

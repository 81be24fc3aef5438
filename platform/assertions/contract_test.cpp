// SPDX-License-Identifier: Apache-2.0
// What the power-management service promises, on the simulated handset and on this machine.

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

#include "platform/assemble/SimHandset.h"
#include "platform/assertions/linux/LinuxPowerManagement.h"
#include "platform/base/Text.h"
#include "platform/kit/bus/BusProperties.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

struct SimWorld {
  SimHandset handset;
  SimPowerManagement& power = handset.powerManagement();
  int changes = 0;
  const Date start = handset.clock().now();
  Registration listening = handset.notifications().observe(SimPowerManagement::kAssertionsChanged,
                                                           [this](auto) { ++changes; });
  void pass(int seconds) { handset.runLoop().advance(seconds); }
  void hold(int pid, const std::string& name) { power.take(pid, name); }
  void release(int pid, const std::string& name) { EXPECT_TRUE(power.release(pid, name)); }
  void failOnce() { handset.faults().fail("powerManagement.copyAssertionsByProcess"); }
};

// A login manager that records its locks.
struct LinuxWorld {
  struct : Clock {
    Date date{std::chrono::seconds(2'000'000'000)};
    Date now() const override { return date; }
  } clock;
  const Date start = clock.date;
  LoopForTest loop;
  DirectoryForTest records;
  PrivateBusForTest bus;
  int changes = 0;
  LinuxBus client{loop.event(), bus.address(), std::chrono::seconds(5)};
  LinuxPowerManagement power{loop.event(),          client,       clock,
                             [this] { ++changes; }, records / "", "/nowhere"};
  std::unique_ptr<ChildForTest> logind;
  std::multimap<std::string, std::string> locks;  // by their entries in the list, with the record
  int lastRecord = 0;

  LinuxWorld() {
    bus.start();
    loop.runUntil([&] { return std::exchange(changes, 0) > 0; });
    logind = bus.startService(kLoginService, kLoginPath, kLoginManager);
    loop.runUntil([&] { return std::exchange(changes, 0) > 0; });
    update();
  }
  void answer(const std::string& code) {
    ASSERT_GE(bus.call(kLoginService, kLoginPath, bus.kMock, "AddMethod", "sssss", kLoginManager,
                       "ListInhibitors", "", "a(ssssuu)", code.c_str()),
              0);
    loop.drain();
  }
  void update() {
    std::string list;
    for (const auto& lock : locks) list += lock.first;
    answer("ret = dbus.Array([" + list + "], signature='(ssssuu)')");
  }
  static std::string entry(int pid, const std::string& name) {
    return formatText("('sleep', '%s', '', 'block', 0, %d),", name.c_str(), pid);
  }
  void pass(int seconds) { clock.date += std::chrono::seconds(seconds); }
  void hold(int pid, const std::string& name) {
    const std::string record = std::to_string(++lastRecord);
    records.write(record, formatText("WHAT=sleep\nMODE=block\nUID=0\nPID=%d\nWHO=%s\nWHY=\n", pid,
                                     name.c_str()));
    const timespec times[] = {{secondsSinceEpoch(clock.date), 0},
                              {secondsSinceEpoch(clock.date), 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (records / record).c_str(), times, 0), 0);
    locks.emplace(entry(pid, name), record);
    update();
  }
  void release(int pid, const std::string& name) {
    const auto oldest = locks.lower_bound(entry(pid, name));
    std::filesystem::remove(records / oldest->second);
    locks.erase(oldest);
    update();
  }
  void failOnce() { answer("raise dbus.exceptions.DBusException('no', name='org.zorva.No')"); }
};

template <typename World>
class AssertionContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(AssertionContract, Worlds);

TYPED_TEST(AssertionContract, ListsWhatEachProcessHoldsNow) {
  TypeParam world;
  using Lines = std::vector<std::string>;
  const auto held = [&] {
    const auto processes = world.power.copyAssertionsByProcess();
    if (!processes) return Lines{"failed"};
    Lines lines;
    for (const auto& [pid, records] : *processes) {
      EXPECT_FALSE(records.empty());
      for (const Dictionary& record : records) {
        EXPECT_EQ(record["AssertPID"], Value(pid));
        const Date start = record["AssertStartWhen"].date().value_or(Date());
        lines.push_back(formatText("%d %s %.0f", pid,
                                   record["AssertName"].text().value_or("").c_str(),
                                   secondsBetween(world.start, start)));
      }
    }
    return lines;
  };
  EXPECT_EQ(held(), Lines{}) << "not a failure";
  world.hold(9, "sync");
  EXPECT_EQ(world.changes, 1);
  world.pass(60);
  world.hold(9, "call");
  world.hold(80, "sync");
  world.pass(30);
  world.hold(9, "sync");
  EXPECT_EQ(world.changes, 4);
  EXPECT_EQ(held(), (Lines{"9 sync 0", "9 call 60", "9 sync 90", "80 sync 60"}));
  world.release(9, "sync");
  EXPECT_EQ(world.changes, 5);
  EXPECT_EQ(held(), (Lines{"9 call 60", "9 sync 90", "80 sync 60"}));
  world.failOnce();
  EXPECT_EQ(held(), Lines{"failed"});
  world.release(9, "sync");
  world.release(9, "call");
  EXPECT_EQ(held(), Lines{"80 sync 60"});
  world.release(80, "sync");
  EXPECT_EQ(held(), Lines{});
  EXPECT_EQ(world.changes, 8);
}

}  // namespace
}  // namespace zorva

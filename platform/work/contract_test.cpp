// SPDX-License-Identifier: Apache-2.0
// What the units' figures promise, on the simulated handset, over a tree of the kernel's files, and
// in a control group of this machine.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include "platform/assemble/SimHandset.h"
#include "platform/processes/linux/LinuxSystemStatistics.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/work/linux/LinuxWorkUnits.h"

namespace zorva {
namespace {

using Figures = std::map<std::string, std::int64_t>;  // microseconds

Figures figures(WorkUnits& work) {
  const auto units = work.units();
  Figures found;
  for (const auto& unit : units.value_or(std::vector<WorkUnits::Unit>())) {
    EXPECT_TRUE(found.emplace(unit.name, unit.used.count()).second) << unit.name << " twice";
  }
  return found;
}

struct SimWorld {
  SimHandset handset;
  WorkUnits& work = handset.work();
  void use(const std::string& unit, int microseconds) {
    handset.work().addCpuTime(unit, microseconds * 1e-6);
  }
  void end(const std::string& unit) { handset.work().end(unit); }
};
// A tree of control groups. What a group uses counts for those around it, too.
struct LinuxWorld {
  DirectoryForTest root;
  LinuxWorkUnits work{root / "cgroup"};
  std::map<std::string, std::int64_t> used;
  void use(std::string group, int microseconds) {
    for (;; group.erase(std::min(group.rfind('/'), group.size()))) {
      const std::int64_t now = used[group] += microseconds;
      root.write("cgroup/" + group + "/cpu.stat",
                 "usage_usec " + std::to_string(now) + "\nuser_usec 1\n");
      if (group.empty()) return;
      if (group.find('/') == group.npos) group.insert(0, 1, '/');
    }
  }
  void end(const std::string& group) { std::filesystem::remove_all(root / ("cgroup/" + group)); }
};

template <typename World>
class WorkContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(WorkContract, Worlds);

TYPED_TEST(WorkContract, WhatAUnitUsedIsNotLostWithIt) {
  TypeParam world;
  EXPECT_EQ(world.work.units(), std::nullopt);
  world.use("a.service", 125);
  world.use("b.service", 25);
  Figures units = figures(world.work);
  units.try_emplace("-.slice", 0);
  EXPECT_EQ(units, (Figures{{"-.slice", 0}, {"a.service", 125}, {"b.service", 25}}));
  world.end("a.service");
  EXPECT_EQ(figures(world.work), (Figures{{"-.slice", 125}, {"b.service", 25}}));
}

TEST(LinuxWorkUnits, EachGroupCountsOnceUnderItsUnit) {
  const std::string user = "user.slice/user-1000.slice/", manager = user + "user@1000.service/";
  const std::string apps = manager + "app.slice/";
  const struct {
    std::string group, unit;
  } cases[] = {{"", "-.slice"},  // threads of the kernel
               {"system.slice/dbus.service", "dbus.service"},
               {"system.slice/box.service/payload/system.slice/dbus.service", "box.service"},
               {"system.slice/system-getty.slice/getty@tty1.service", "getty@tty1.service"},
               {"system.slice/_cpu.service", "cpu.service"},
               {"system.slice/dev-by\\x2duuid.swap", "dev-by\\x2duuid.swap"},
               {user + "session-2.scope", "session-2.scope"},
               {manager + "session.slice/dbus.service", "dbus.service(1000)"},
               {apps + "app-gnome-google\\x2dchrome-2100.scope", "app-google-chrome@2100"},
               {apps + "app-org.kde.amarok.service", "app-org.kde.amarok(1000)"},
               {apps + "app-notify@autostart.service", "app-notify@autostart(1000)"},
               {apps + "gone.service", "app.slice(1000)"},
               {apps + "a=1; dbus.service", "a_1_ dbus.service(1000)"},
               {"user.slice/user-1001.slice/user@1001.service/dbus.service", "dbus.service(1001)"}};
  LinuxWorld world;
  Figures expected;
  int microseconds = 1;
  for (const auto& [group, unit] : cases) {
    world.use(group, microseconds);
    expected[unit] = microseconds;
    microseconds *= 2;
  }
  world.end(apps + "gone.service");
  world.root.write("cgroup/system.slice/broken.service/cpu.stat", "usage_usec many\n");
  Figures units = figures(world.work);
  std::erase_if(units, [](const auto& unit) { return unit.second == 0; });
  EXPECT_EQ(units, expected);
}

TEST(LinuxWorkUnits, TwoHundredShortProcessesAreAccountedWhole) {
  std::string root;
  std::ifstream mounts("/proc/self/mounts");
  for (std::string device, path, type; mounts >> device >> path >> type;) {
    if (type == "cgroup2") root = path + "/zorva-test-" + std::to_string(getpid());
    std::getline(mounts, type);
  }
  if (root.empty() || mkdir(root.c_str(), 0755) != 0) GTEST_SKIP() << "no control groups";
  const std::string unit = root + "/make.scope";
  const std::shared_ptr<void> atTheEnd(nullptr, [&](void*) {
    rmdir(unit.c_str());
    rmdir(root.c_str());
  });
  ASSERT_EQ(mkdir(unit.c_str(), 0755), 0);

  LinuxSystemStatistics statistics;
  double listed = 0;  // CPU seconds in lists of processes
  const auto childrenUsed = [] {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const timeval &user = usage.ru_utime, &system = usage.ru_stime;
    return static_cast<double>(user.tv_sec + system.tv_sec) +
           static_cast<double>(user.tv_usec + system.tv_usec) * 1e-6;
  };
  const double before = childrenUsed();
  for (int process = 0; process < 200; ++process) {
    ChildForTest child([&] {
      std::ofstream(unit + "/cgroup.procs") << 0 << std::flush;
      timespec used{};
      do {
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
      } while (used.tv_nsec < 2'000'000);
      return 0;
    });
    if (process % 50 == 0) {  // a level change, seen when this one has done all its work
      siginfo_t ended{};
      waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOWAIT);
      TaskSample sample;
      EXPECT_TRUE(statistics.sampleTask(child.pid(), TaskDetail::None, sample).ok());
      const TimeValue &user = sample.basic.userTime, &system = sample.basic.systemTime;
      listed += user.seconds + system.seconds + (user.microseconds + system.microseconds) * 1e-6;
    }
    ASSERT_EQ(child.status(), 0);
  }
  const double truth = childrenUsed() - before;
  LinuxWorkUnits work(root);
  const auto seconds = static_cast<double>(figures(work)["make.scope"]) * 1e-6;
  std::printf("used %.3f s, in the unit %.3f s, in four lists of processes %.3f s\n", truth,
              seconds, listed);
  EXPECT_NEAR(seconds, truth, 0.1 * truth);  // without the way into the group
  EXPECT_LT(listed, 0.1 * seconds);
}

}  // namespace
}  // namespace zorva

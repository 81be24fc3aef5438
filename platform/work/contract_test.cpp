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
#include <numeric>
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
std::int64_t sum(const Figures& figures) {
  return std::accumulate(figures.begin(), figures.end(), std::int64_t{},
                         [](auto all, const auto& each) { return all + each.second; });
}

// A tree of control groups. What a group uses counts for those around it, too.
struct Tree {
  DirectoryForTest root;
  std::map<std::string, std::int64_t> used;
  void use(std::string group, std::int64_t microseconds) {
    for (;; group.erase(std::min(group.rfind('/'), group.size()))) {
      const std::int64_t now = used[group] += microseconds;
      root.write("cgroup/" + group + "/cpu.stat",
                 "usage_usec " + std::to_string(now) + "\nuser_usec 1\nsystem_usec 2\n");
      if (group.empty()) return;
      if (group.find('/') == group.npos) group.insert(0, 1, '/');
    }
  }
  void end(const std::string& group) { std::filesystem::remove_all(root / ("cgroup/" + group)); }
};

struct SimWorld {
  SimHandset handset;
  WorkUnits& work = handset.work();
  void use(const std::string& unit, double seconds) { handset.work().addCpuTime(unit, seconds); }
  void end(const std::string& unit) { handset.work().end(unit); }
};
struct LinuxWorld {
  Tree tree;
  LinuxWorkUnits work{tree.root / "cgroup"};
  void use(const std::string& unit, double seconds) {
    tree.use(unit, static_cast<std::int64_t>(seconds * 1e6));
  }
  void end(const std::string& unit) { tree.end(unit); }
};

template <typename World>
class WorkContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(WorkContract, Worlds);

TYPED_TEST(WorkContract, WhatAUnitUsedIsNotLostWithIt) {
  TypeParam world;
  EXPECT_EQ(world.work.units(), std::nullopt);
  world.use("a.service", 12.5);
  world.use("b.service", 0.25);
  Figures units = figures(world.work);
  units.try_emplace("-.slice", 0);
  EXPECT_EQ(units, (Figures{{"-.slice", 0}, {"a.service", 12500000}, {"b.service", 250000}}));
  world.end("a.service");
  EXPECT_EQ(figures(world.work), (Figures{{"-.slice", 12500000}, {"b.service", 250000}}));
}

TEST(LinuxWorkUnits, EachGroupCountsOnceUnderItsUnit) {
  Tree tree;
  const std::string manager = "user.slice/user-1000.slice/user@1000.service/";
  tree.use("", 1);  // threads of the kernel
  tree.use("init.scope", 20);
  tree.use("system.slice/dbus.service", 300);
  tree.use("system.slice/box.service/payload/system.slice/dbus.service", 4000);
  tree.use("system.slice/system-getty.slice/getty@tty1.service", 50000);
  tree.use("system.slice/_cpu.service", 60);
  tree.use("system.slice/dev-disk-by\\x2duuid.swap", 7);
  tree.use("user.slice/user-1000.slice/session-2.scope", 100);
  tree.use(manager + "init.scope", 5);
  tree.use(manager + "session.slice/dbus.service", 6);
  tree.use(manager + "app.slice/app-gnome-google\\x2dchrome-2100.scope", 7000);
  tree.use(manager + "app.slice/app-org.kde.amarok.service", 8);
  tree.use(manager + "app.slice/app-notify@autostart.service", 9);
  tree.use(manager + "app.slice/gone.service", 30);
  tree.end(manager + "app.slice/gone.service");
  tree.use("user.slice/user-1001.slice/user@1001.service/session.slice/dbus.service", 2);
  tree.root.write("cgroup/system.slice/broken.service/cpu.stat", "usage_usec many\n");
  tree.root.write("cgroup/cgroup.procs", "2\n");

  LinuxWorkUnits work(tree.root / "cgroup");
  Figures units = figures(work);
  EXPECT_EQ(sum(units), tree.used[""]);
  std::erase_if(units, [](const auto& unit) { return unit.second == 0; });
  EXPECT_EQ(units, (Figures{{"-.slice", 1},
                            {"init.scope", 20},
                            {"dbus.service", 300},
                            {"box.service", 4000},
                            {"getty@tty1.service", 50000},
                            {"cpu.service", 60},
                            {"dev-disk-by\\x2duuid.swap", 7},
                            {"session-2.scope", 100},
                            {"init.scope(1000)", 5},
                            {"dbus.service(1000)", 6},
                            {"app-google-chrome@2100", 7000},
                            {"app-org.kde.amarok(1000)", 8},
                            {"app-notify@autostart(1000)", 9},
                            {"app.slice(1000)", 30},
                            {"dbus.service(1001)", 2}}));
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
  const auto cpuSeconds = [](const rusage& usage) {
    const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
  };
  rusage before{}, after{};
  getrusage(RUSAGE_CHILDREN, &before);
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
  getrusage(RUSAGE_CHILDREN, &after);
  const double truth = cpuSeconds(after) - cpuSeconds(before);

  LinuxWorkUnits work(root);
  const auto seconds = static_cast<double>(figures(work)["make.scope"]) * 1e-6;
  std::printf("used %.3f s, in the unit %.3f s, in four lists of processes %.3f s\n", truth,
              seconds, listed);
  EXPECT_NEAR(seconds, truth, 0.1 * truth);  // without the way into the group
  EXPECT_LT(listed, 0.1 * seconds);
  ASSERT_EQ(rmdir(unit.c_str()), 0);
  const std::string other = root + "/other.service";
  ASSERT_EQ(mkdir(other.c_str(), 0755), 0);
  EXPECT_NEAR(static_cast<double>(figures(work)["-.slice"]) * 1e-6, seconds, 1e-3);
  rmdir(other.c_str());
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxSystemStatistics.h"

#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

double secondsOf(const TimeValue& user, const TimeValue& system) {
  return user.seconds + system.seconds + (user.microseconds + system.microseconds) / 1e6;
}

TEST(LinuxSystemStatisticsTest, TellsOfAProcessWhatTheKernelTells) {
  LinuxSystemStatistics statistics;
  const bool root = geteuid() == 0;
  // Works partly in a thread that ends, and more than a coarse clock could miss.
  const ChildForTest child([&] {
    for (int i = 0; i < 20; ++i) [[maybe_unused]] const int copy = dup(0);
    [[maybe_unused]] const int set = root ? seteuid(12345) : 0;
    const auto workUntil = [](int percent) {
      while (std::clock() < percent * CLOCKS_PER_SEC / 100) continue;
    };
    std::thread(workUntil, 15).join();
    workUntil(30);
    return raise(SIGSTOP);
  });
  rusage used{};
  ASSERT_EQ(wait4(child.pid(), nullptr, WUNTRACED, &used), child.pid());
  TaskSample plain, sample;
  ASSERT_TRUE(statistics.sampleTask(child.pid(), TaskDetail::None, plain).ok());
  ASSERT_TRUE(statistics.sampleTask(child.pid(), kEveryTaskDetail, sample).ok());
  EXPECT_EQ(sample.process.user, root ? 12345u : geteuid());
  EXPECT_GT(sample.events.faults, 0u);
  EXPECT_GT(sample.events.contextSwitches, 0u);
  EXPECT_GT(sample.process.startSeconds, 1600000000);
  EXPECT_GE(sample.ports, 20u);
  EXPECT_FALSE(sample.process.zombie);
  ASSERT_EQ(sample.threads.size(), 1u);
  const double total = secondsOf(plain.basic.userTime, plain.basic.systemTime);
  const timeval &user = used.ru_utime, &system = used.ru_stime;
  const double expected = static_cast<double>(user.tv_sec + system.tv_sec) +
                          static_cast<double>(user.tv_usec + system.tv_usec) / 1e6;
  EXPECT_LE(total, expected + 1e-6);
  EXPECT_GE(total, expected - 0.021) << "two figures, each cut to whole ticks";
  const double ended = secondsOf(sample.basic.userTime, sample.basic.systemTime);
  const double live = secondsOf(sample.threads[0].userTime, sample.threads[0].systemTime);
  EXPECT_GE(ended, 0.1);
  EXPECT_GE(live, 0.1);
  EXPECT_NEAR(ended + live, total, 1e-6);

  std::vector<MemoryRegion> regions;
  ASSERT_TRUE(statistics.memoryRegions(child.pid(), regions).ok());
  EXPECT_TRUE(std::ranges::any_of(regions, &MemoryRegion::sharedFramework));
  EXPECT_TRUE(std::ranges::any_of(regions, &MemoryRegion::residentSize));
}

TEST(LinuxSystemStatisticsTest, FilesThatAreMissingOrGarbledAreFailures) {
  const DirectoryForTest root;  // in place of the kernel's files
  LinuxSystemStatistics nowhere(root / "none", root / "none");
  std::vector<std::int32_t> processes{5};
  const auto listed = nowhere.listTasks(processes);
  EXPECT_FALSE(listed.ok());
  EXPECT_EQ(listed.failed, TaskListStep::ProcessorSets);
  EXPECT_EQ(processes, std::vector<std::int32_t>{5});

  root.write("proc/stat", "garbage");
  root.write("proc/meminfo", "MemTotal: lots\n");
  root.write("proc/loadavg", "");
  root.write("proc/12/stat", std::string(10000, '('));
  for (const char* const name : {"13", "99999999999", "0", "1x"}) {
    root.write(std::string("proc/") + name + "/stat", "");
  }
  root.write("proc/3/stat",
             "3 (kthread/0:1-name longer than others) I 2 0 0 0 -1 69238880 0 0 0 0 7 250 "
             "0 0 20 0 1 0 300 0 0");
  LinuxSystemStatistics statistics(root / "proc", root / "sys");
  std::uint64_t memory = 7;
  HostCpuLoad load;
  double averages[3];
  SwapUsage swap;
  std::vector<NetworkTotals> interfaces;
  std::vector<std::string> drivers;
  EXPECT_FALSE(statistics.memorySize(memory).ok());
  EXPECT_EQ(memory, 7u);
  EXPECT_FALSE(statistics.cpuLoad(load).ok());
  EXPECT_FALSE(statistics.loadAverages(averages).ok());
  EXPECT_FALSE(statistics.swapUsage(swap).ok());
  EXPECT_FALSE(statistics.interfaceTraffic(interfaces).ok());
  EXPECT_FALSE(statistics.blockDrivers(drivers).ok());
  ASSERT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_EQ(processes, (std::vector<std::int32_t>{3, 12, 13}));
  TaskSample sample;
  for (const int garbledOrGone : {12, 13, 999}) {
    const auto sampled = statistics.sampleTask(garbledOrGone, kEveryTaskDetail, sample);
    EXPECT_FALSE(sampled.ok());
    EXPECT_EQ(sampled.failed, TaskSampleStep::KernelProcess);
  }
  ASSERT_TRUE(statistics.sampleTask(3, TaskDetail::None, sample).ok());
  EXPECT_EQ(sample.process.command, "kthread/0:1-name");
  EXPECT_EQ(sample.basic.systemTime, timeOfTicks(250, sysconf(_SC_CLK_TCK)));

  // As when the process ends in the middle of the look.
  EXPECT_EQ(statistics.sampleTask(3, TaskDetail::Identity, sample).code, ENOENT);
  root.write("proc/3/task/x", "");
  for (const TaskDetail detail : {TaskDetail::Threads, TaskDetail::Events}) {
    const auto ended = statistics.sampleTask(3, detail, sample);
    EXPECT_EQ(ended.code, ESRCH);
    EXPECT_EQ(ended.failed, TaskSampleStep::TaskInformation);
  }
  const std::pair<std::string, std::int32_t> states[] = {
      {"R", kThreadRunning}, {"S", kThreadWaiting}, {"I", kThreadWaiting}, {"T", kThreadStopped}};
  for (const auto& [letter, state] : states) {
    root.write("proc/3/task/3/stat",
               "3 (x) " + letter + " 2 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0 0");
    ASSERT_TRUE(statistics.sampleTask(3, TaskDetail::Threads, sample).ok()) << letter;
    EXPECT_EQ(sample.threads.at(0).runState, state) << letter;
  }
}

}  // namespace
}  // namespace zorva

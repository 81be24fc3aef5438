// SPDX-License-Identifier: Apache-2.0
// What the kernel's records of processes promise, on the simulated handset and on this machine.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "platform/assemble/SimHandset.h"
#include "platform/processes/linux/LinuxProcessInformation.h"
#include "platform/processes/linux/LinuxProcessTable.h"
#include "platform/processes/linux/LinuxSystemStatistics.h"
#include "platform/testing/ChildProcess.h"

namespace zorva {
namespace {

// Each world starts a process with a file and a socket. It works, ends, and is reaped.
struct SimWorld {
  static constexpr pid_t kPid = 500;
  SimHandset handset;
  ProcessTable& table = handset.processes();
  ProcessInformation& information = handset.processInformation();
  SimSystemStatistics& statistics = handset.statistics();
  std::string path = "/usr/bin/demo";
  std::int32_t file = 0, socket = 1;
  pid_t start(const std::string& name) {
    SimProcessTable& processes = handset.processes();
    processes.setProcess(kPid, name);
    processes.setPath(kPid, path);
    processes.open(kPid, std::nullopt);
    processes.open(kPid, simUdpSocket("127.0.0.1:5353"));
    return kPid;
  }
  void work() { handset.processes().addCpuTime(kPid, std::chrono::milliseconds(10)); }
  void end() {
    handset.processes().setPath(kPid, "");
    statistics.task(kPid).sample.process.zombie = true;
  }
  void reap() { handset.processes().endProcess(kPid); }
};
struct LinuxWorld {
  LinuxProcessTable table;
  LinuxProcessInformation information;
  LinuxSystemStatistics statistics;
  std::string path = std::filesystem::read_symlink("/proc/self/exe");
  Descriptor opened{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
  std::int32_t file = STDERR_FILENO, socket = opened.get();
  std::optional<ChildForTest> child;
  pid_t start(const std::string& name) {
    char own[16];
    prctl(PR_GET_NAME, own);
    prctl(PR_SET_NAME, name.c_str());  // a child is born with it
    child.emplace([] {
      while (getppid() > 0) continue;
      return 0;
    });
    prctl(PR_SET_NAME, own);
    return child->pid();
  }
  void work() { usleep(15'000); }
  void end() {
    siginfo_t ended{};
    if (child->pid() > 0) kill(child->pid(), SIGKILL);
    waitid(P_PID, static_cast<id_t>(child->pid()), &ended, WEXITED | WNOWAIT);
  }
  void reap() { child->status(); }
};

template <typename World>
class ProcessesContract : public testing::Test {
 protected:
  std::vector<std::int32_t> listed() {
    std::vector<std::int32_t> ids{-1};
    EXPECT_TRUE(world_.statistics.listTasks(ids).ok());
    EXPECT_EQ(std::ranges::adjacent_find(ids, std::greater_equal()), ids.end());
    return ids;
  }
  World world_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ProcessesContract, Worlds);

TYPED_TEST(ProcessesContract, AnswersFillWhatFitsInAscendingOrderAndCountItsBytes) {
  TypeParam& world = this->world_;
  ProcessInformation& information = world.information;
  const pid_t pid = world.start("a (b) c");
  const int needed = information.proc_listpids({}).bytes;
  ASSERT_GE(needed, 8);
  std::vector<std::int32_t> all(static_cast<std::size_t>(needed) / 4 + 64);
  const int filled = information.proc_listpids(all).bytes;
  all.resize(static_cast<std::size_t>(filled) / 4);
  EXPECT_EQ(std::ranges::adjacent_find(all, std::greater_equal()), all.end());
  EXPECT_TRUE(std::ranges::binary_search(all, pid));
  std::vector<std::int32_t> some(3, -1);
  EXPECT_EQ(information.proc_listpids(std::span(some).first(2)).bytes, 8);
  EXPECT_EQ(some, (std::vector<std::int32_t>{all[0], all[1], -1}));

  proc_taskallinfo task;
  ASSERT_EQ(information.proc_pidinfo(pid, task).bytes, kProcTaskAllInfoSize);
  std::vector<proc_fdinfo> open(task.openFiles + 1), few(3, {-1, 0});
  ASSERT_EQ(information.proc_pidinfo(pid, std::span(open)).bytes, 8 * task.openFiles);
  open.resize(task.openFiles);
  EXPECT_EQ(std::ranges::adjacent_find(open, std::greater_equal(), &proc_fdinfo::proc_fd),
            open.end());
  EXPECT_EQ(information.proc_pidinfo(pid, std::span(few).first(2)).bytes, 16);
  EXPECT_EQ(few[1].proc_fd, open[1].proc_fd);
  EXPECT_EQ(few[2].proc_fd, -1);

  socket_fdinfo socket;
  EXPECT_GT(information.proc_pidfdinfo(pid, world.socket, socket).bytes, 0);
  for (const std::int32_t none : {world.file, 9999, -1}) {
    const ProcAnswer answer = information.proc_pidfdinfo(pid, none, socket);
    EXPECT_TRUE(answer.bytes <= 0 && answer.error != 0) << none;
  }

  EXPECT_EQ(world.table.commandName(pid), "a (b) c");
  char text[1024], cut[3] = {'x', 'x', 'x'};
  EXPECT_EQ(information.proc_name(pid, text).bytes, 7);
  EXPECT_STREQ(text, "a (b) c");
  EXPECT_EQ(information.proc_name(pid, std::span(cut, 2)).bytes, 2);
  EXPECT_EQ(std::string(cut, 3), "a x");
  EXPECT_EQ(information.proc_pidpath(pid, text).bytes, static_cast<int>(world.path.size()));
  EXPECT_EQ(text, world.path);
}

TYPED_TEST(ProcessesContract, AProcessThatHasGoneIsAFailureAndNoFigure) {
  TypeParam& world = this->world_;
  const pid_t pid = world.start("");
  EXPECT_EQ(world.table.commandName(pid), "") << "a process without a name is a process";
  world.end();
  TaskSample sample;
  ASSERT_TRUE(world.statistics.sampleTask(pid, kEveryTaskDetail, sample).ok());
  EXPECT_TRUE(sample.process.zombie);
  EXPECT_TRUE(std::ranges::binary_search(this->listed(), pid));
  EXPECT_EQ(world.table.commandName(pid), "");
  char text[64];
  const ProcAnswer noPath = world.information.proc_pidpath(pid, text);
  EXPECT_TRUE(noPath.bytes <= 0 && noPath.error != 0);

  world.reap();
  EXPECT_FALSE(std::ranges::binary_search(this->listed(), pid));
  EXPECT_EQ(world.table.commandName(pid), std::nullopt);
  proc_taskallinfo task;
  proc_fdinfo descriptors[1];
  socket_fdinfo socket;
  world.information.proc_listpids({});
  for (const ProcAnswer answer :
       {world.information.proc_pidinfo(pid, task), world.information.proc_pidinfo(pid, descriptors),
        world.information.proc_pidfdinfo(pid, 0, socket), world.information.proc_name(pid, text),
        world.information.proc_pidpath(pid, text)}) {
    EXPECT_LE(answer.bytes, 0);
    EXPECT_EQ(answer.error, kNoSuchProcess);
  }
  const TaskSampleResult sampled = world.statistics.sampleTask(pid, TaskDetail::None, sample);
  EXPECT_FALSE(sampled.ok());
  EXPECT_EQ(sampled.failed, TaskSampleStep::KernelProcess);
  EXPECT_NE(sampled.text, "");
  std::vector<MemoryRegion> regions(3);
  std::size_t length = 3;
  EXPECT_FALSE(world.statistics.memoryRegions(pid, regions).ok());
  EXPECT_FALSE(world.statistics.executablePath(pid, text, length).ok());
  EXPECT_EQ(regions.size() + length, 6u) << "left as they were";
}

TYPED_TEST(ProcessesContract, ASampleHasWhatWasAskedForAndItsTimeNeverGoesBack) {
  TypeParam& world = this->world_;
  SystemStatistics& statistics = world.statistics;
  const pid_t pid = world.start("worker");
  TaskSample sample;
  std::int64_t before = 0;  // microseconds of the whole process
  const auto add = [](std::int64_t& sum, const TimeValue& time) {
    EXPECT_LT(time.microseconds, 1'000'000);
    sum += time.seconds * std::int64_t{1'000'000} + time.microseconds;
  };
  for (int round = 0; round < 12; ++round) {
    const bool all = round % 2 == 0;
    ASSERT_TRUE(statistics.sampleTask(pid, all ? kEveryTaskDetail : TaskDetail::None, sample).ok());
    EXPECT_EQ(sample.process.command, "worker");
    EXPECT_EQ(sample.threads.empty(), !all);
    std::int64_t time = 0;
    for (const ThreadInfo& thread : sample.threads) {
      add(time, thread.userTime);
      add(time, thread.systemTime);
    }
    add(time, sample.basic.userTime);
    add(time, sample.basic.systemTime);
    EXPECT_GE(time, before);
    before = time;
    if (!all) {
      EXPECT_EQ(sample.process.user + sample.ports + sample.events.faults +
                    sample.events.contextSwitches + sample.workQueue.threads,
                0u);
    }
    world.work();
  }
  EXPECT_GT(before, 0);
  char path[1024], cut[3] = {'x', 'x', 'x'};
  std::size_t whole = 0, length = 0;
  ASSERT_TRUE(statistics.executablePath(pid, path, whole).ok());
  ASSERT_TRUE(statistics.executablePath(pid, std::span(cut, 2), length).ok());
  EXPECT_EQ(std::string(cut, 3), std::string(path, 2) + "x");
  EXPECT_GT(whole, length);
}

TYPED_TEST(ProcessesContract, FiguresOfTheHostReplaceTheListsAndNeverGoBack) {
  SystemStatistics& statistics = this->world_.statistics;
  HostCpuLoad load, later;
  EXPECT_TRUE(statistics.cpuLoad(load).ok() && statistics.cpuLoad(later).ok());
  EXPECT_GE(later.user, load.user);
  EXPECT_GE(later.system, load.system);
  EXPECT_GT(statistics.pageSize(), 0u);
  std::vector<NetworkTotals> traffic, again(9);
  EXPECT_TRUE(statistics.interfaceTraffic(traffic).ok() && statistics.interfaceTraffic(again).ok());
  EXPECT_EQ(again.size(), traffic.size());
  DiskTotals transfers;
  transfers.readBytes = 7;
  EXPECT_FALSE(statistics.blockDriverTransfers("no such driver", transfers).ok());
  EXPECT_EQ(transfers.readBytes, 7u) << "left as it was";
}

}  // namespace
}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "process/libtally.h"

#include <algorithm>
#include <cstdarg>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "process/libtally_context.h"

namespace zorva {
namespace {

using Operation = SimSystemStatistics::Operation;
using enum SimSystemStatistics::Operation;
using Messages = std::vector<std::string>;
using Pids = std::vector<pid_t>;

__attribute__((format(printf, 2, 3))) int collect(void* messages, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  static_cast<Messages*>(messages)->push_back(formatArguments(format, arguments));
  va_end(arguments);
  return 0;
}

class LibtallyTest : public testing::Test {
 protected:
  LibtallyTest() {
    libtally_use(statistics, handset.accounts());
    for (const pid_t pid : {1, 23, 45, 61}) statistics.removeTask(pid);
  }
  ~LibtallyTest() override {
    libtally_fini();
    EXPECT_EQ(messages, Messages()) << "messages that nobody looked at";
  }

  int init() { return libtally_init(collect, &messages); }
  void sample(bool regions = false, bool frameworks = false) {
    EXPECT_EQ(libtally_sample(regions, frameworks), 0);
  }
  void start() {
    EXPECT_EQ(init(), 0);
    sample();
  }
  Messages takeMessages() { return std::exchange(messages, {}); }

  // A task with one thread.
  TaskSample& add(pid_t pid, std::int32_t runState = kThreadWaiting) {
    statistics.setTask(pid, "p" + std::to_string(pid), {});
    task(pid).threads[0].runState = runState;
    return task(pid);
  }
  TaskSample& task(pid_t pid) { return statistics.task(pid).sample; }
  Pids iterate() {
    Pids pids;
    while (const LibtallyProcess* process = libtally_piterate()) pids.push_back(process->pid);
    return pids;
  }
  const LibtallyProcess* record(pid_t pid) {
    const LibtallyProcess* found = nullptr;
    while (const LibtallyProcess* process = libtally_piterate()) {
      if (process->pid == pid) found = process;
    }
    return found;
  }

  SimHandset handset;
  SimSystemStatistics& statistics = handset.statistics();
  Messages messages;
};

int bySecondsDescending(void*, const LibtallyProcess& a, const LibtallyProcess& b) {
  const auto x = a.totalTime.current.seconds, y = b.totalTime.current.seconds;
  return x > y ? -1 : x < y ? 1 : 0;
}

TEST_F(LibtallyTest, FailuresAreReportedAndTheTicksKept) {
  const struct {
    bool atInit;
    Operation operation;
    int code, expected;
    const char* message;
  } kFailures[] = {
      {true, MemorySize, 5, -1, "libtally_init(): Error in sysctl(): broken"},
      {true, MaximumArgumentLength, 5, -1, "libtally_init(): Error in sysctl(): broken"},
      {true, OpenDeviceRegistry, 5, -1, "Error in IOMasterPort()"},
      {true, CpuLoad, 5, -1, "Error in host_statistics(): broken"},
      {true, TimeOfDay, 5, -1, nullptr},
      {false, ProcessorSets, 5, -1, "Error in host_processor_sets(): broken"},
      {false, PrivilegedAccess, 5, -1, "Error in host_processor_set_priv(): broken"},
      {false, Tasks, 5, -1, "Error in processor_set_tasks(): broken"},
      {false, LoadAverages, 5, -1, "Error in getloadavg(): broken"},
      {false, CpuLoad, 5, -1, "Error in host_statistics(): broken"},
      {false, TimeOfDay, 5, 5, nullptr},
  };
  add(1);
  for (const auto& [atInit, operation, code, expected, message] : kFailures) {
    if (!atInit) {
      ASSERT_EQ(init(), 0);
      statistics.system.cpuLoad.user += 10;
      sample();
    }
    statistics.failNext(operation, {code, "broken"});
    EXPECT_EQ(atInit ? init() : libtally_sample(false, false), expected);
    EXPECT_EQ(takeMessages(), message != nullptr ? Messages{message} : Messages());
    ASSERT_EQ(libtally_tsamp() == nullptr, atInit);
    if (atInit) continue;
    EXPECT_EQ(libtally_tsamp()->cpu.previous, libtally_tsamp()->cpu.current);
  }
}

TEST_F(LibtallyTest, OnlyASampleWithoutMemoryFails) {
  struct : SimSystemStatistics {
    using SimSystemStatistics::SimSystemStatistics;
    bool noTask = true;
    TaskSampleResult sampleTask(pid_t pid, TaskDetail detail, TaskSample& to) override {
      if (noTask && pid == 2) throw std::bad_alloc();
      return SimSystemStatistics::sampleTask(pid, detail, to);
    }
    KernelResult interfaceTraffic(std::vector<NetworkTotals>&) override { throw std::bad_alloc(); }
  } exhausted{handset.clock()};
  for (const pid_t pid : {1, 2}) exhausted.setTask(pid, "p", {});
  libtally_use(exhausted, handset.accounts());
  ASSERT_EQ(init(), 0);
  EXPECT_EQ(libtally_sample(false, false), -1);
  EXPECT_EQ(iterate(), Pids{1});
  exhausted.noTask = false;
  EXPECT_EXIT(libtally_sample(false, false), testing::ExitedWithCode(1), "");
}

// In multiples of 128 MiB, as at the start of the round.
TEST_F(LibtallyTest, ReservedPagesAreReadAtTheStart) {
  statistics.system.reservedMemory = {0x8000000, 0x7FFFFFF, 0x8000001};
  ASSERT_EQ(init(), 0);
  statistics.system.reservedMemory.reset();
  EXPECT_EQ(libtally_tsamp()->reservedPages, 0x18000000 / statistics.pageSize());
  ASSERT_EQ(init(), 0);
  EXPECT_EQ(libtally_tsamp()->reservedPages, 0u);
}

TEST_F(LibtallyTest, RecordsFollowTheirProcesses) {
  add(30);
  add(12);
  start();
  EXPECT_EQ(iterate(), (Pids{12, 30}));
  EXPECT_EQ(iterate(), (Pids{12, 30})) << "starts again";

  statistics.removeTask(12);
  add(20);
  sample();
  EXPECT_EQ(libtally_preg(12, 2), 0) << "kept until an iteration passes it";
  EXPECT_EQ(record(30)->seq.previous, 1u);
  EXPECT_EQ(record(20)->seq.previous, 0u);
  EXPECT_EQ(libtally_preg(12, 2), -1);

  statistics.removeTask(30);
  sample();
  libtally_psort(bySecondsDescending, nullptr);
  EXPECT_EQ(libtally_preg(30, 0), -1) << "a sort drops it as well";
  EXPECT_EQ(libtally_tsamp()->processes, 1u);

  statistics.endAfterNextListing(20);
  add(40);
  sample();
  EXPECT_EQ(iterate(), Pids{40});
  EXPECT_EQ(takeMessages(), Messages{"kinfo_for_pid(): Error in sysctl(): No such process"});
  statistics.failNext(TaskInformation, {5, "gone"});
  sample();
  EXPECT_EQ(libtally_preg(40, 0), -1) << "no information, no record";
}

TEST_F(LibtallyTest, AddsThreadTimesAndReportsTheStateOfTheBusiestThread) {
  TaskSample& added = add(5);
  added.basic.userTime = {10, 0};
  added.basic.systemTime = {0, 999999};
  added.threads[0].userTime = {0, 600000};
  added.threads[0].systemTime = {0, 700000};
  ThreadInfo idle;
  idle.userTime = {100, 0};
  idle.flags = kThreadIdleFlag | 1;
  idle.runState = kThreadUninterruptible;
  added.threads.push_back(idle);
  add(6).basic.userTime = {INT32_MAX, 999999};
  task(6).threads[0].userTime = {1, INT32_MAX};

  start();
  const LibtallyProcess* const process = record(5);
  EXPECT_EQ(process->totalTime.previous, (TimeValue{12, 299999}));
  EXPECT_STREQ(libtally_state_str(process->state), "stuck");
  task(5).threads[0].userTime = {1, 600000};
  task(5).threads.pop_back();
  sample();
  EXPECT_EQ(process->totalTime.current, (TimeValue{13, 299999}));
  EXPECT_EQ(process->totalTime.previous, (TimeValue{12, 299999}));
  EXPECT_EQ(process->totalTime.first, (TimeValue{12, 299999}));
  EXPECT_EQ(process->details->threads.previous, 2u);
}

TEST_F(LibtallyTest, CountsProcessesByState) {
  const std::int32_t kStates[] = {
      0, kThreadRunning, kThreadStopped, kThreadWaiting, kThreadUninterruptible, kThreadHalted, 99};
  for (std::int32_t i = 1; i <= 6; ++i) add(i, kStates[i]);
  add(7).threads[0].sleepSeconds = 3;
  add(8).process.zombie = true;
  add(9).threads.clear();
  start();
  const char* const kTexts[] = {"running", "stopped", "sleeping", "stuck",  "halted",
                                "unknown", "idle",    "zombie",   "unknown"};
  for (pid_t pid = 1; pid <= 9; ++pid) {
    EXPECT_STREQ(libtally_state_str(record(pid)->state), kTexts[pid - 1]) << pid;
  }
  EXPECT_EQ(libtally_tsamp()->processesInState,
            (std::array<std::uint32_t, 8>{1, 1, 1, 1, 1, 1, 1, 2}));
  EXPECT_EQ(libtally_tsamp()->threads, 8u);
}

TEST_F(LibtallyTest, SortsEqualsByProcessIdForAnyComparator) {
  const std::int32_t kSeconds[] = {4, 9, 4, 0, 9};
  for (std::int32_t i = 0; i < 5; ++i) statistics.setTask(10 + i, "p", {kSeconds[i], 0});
  start();
  libtally_psort(bySecondsDescending, nullptr);
  EXPECT_EQ(iterate(), (Pids{11, 14, 10, 12, 13}));
  EXPECT_EQ(iterate(), (Pids{11, 14, 10, 12, 13})) << "starts again";

  for (pid_t pid = 20; pid < 200; ++pid) add(pid);
  sample();
  const Pids pids = iterate();
  EXPECT_TRUE(std::ranges::is_sorted(pids)) << "a new sample forgets the sort";
}

TEST_F(LibtallyTest, CountersContinueAcrossWraps) {
  libtally_i64 counter;
  libtally_i64_init(counter, 0, 0xFFFFFFF0);
  EXPECT_EQ(libtally_i64_update(counter, 0x10), 32);
  EXPECT_EQ(libtally_i64_value(counter), 0x100000010u);
  EXPECT_EQ(libtally_i64_update(counter, 0x8), -8);
  libtally_i64_init(counter, 3, 5);
  EXPECT_EQ(libtally_i64_update(counter, 0x80000005), INT32_MIN);
  EXPECT_EQ(libtally_i64_value(counter), std::uint64_t{3} - 0x80000000);

  add(1).events.faults = 0xFFFFFFF0;
  start();
  task(1).events.faults = 0x10;
  sample();
  const LibtallyDetails& details = *record(1)->details;
  EXPECT_EQ(details.faults.previous, 0xFFFFFFF0u);
  EXPECT_EQ(libtally_i64_value(details.faults.total), 0x100000010u);
}

TEST_F(LibtallyTest, SystemFiguresMoveFromSampleToSample) {
  auto& system = statistics.system;
  system.cpuLoad.user = 1;
  ASSERT_EQ(init(), 0);
  system.cpuLoad.user = 5;
  system.vmStatistics.faults = 100;
  system.interfaceTraffic = {{1, 2, 1ULL << 33, 4}, {1, 1, 1, 1}};
  system.blockDrivers = {{"a", {1, 512, 2, 1024}}, {"b", {1, 1, 1, 1}}};
  sample();
  const LibtallySystem& tsamp = *libtally_tsamp();
  EXPECT_EQ(tsamp.cpu.previous.user, 1u) << "the ticks of the initialisation";
  EXPECT_EQ(tsamp.vm.previous.faults, 100u);
  const NetworkTotals kTraffic{2, 3, (1ULL << 33) + 1, 5};
  EXPECT_EQ(tsamp.network.previous, kTraffic);
  EXPECT_TRUE(tsamp.swapKnown);

  handset.clock().set(SimHandset::kStart + std::chrono::seconds(60));
  system.vmStatistics.faults = 130;
  for (const Operation operation : {SwapUsage, InterfaceTraffic, BlockDriverTransfers}) {
    statistics.failNext(operation, {5, "broken"});
  }
  sample();
  EXPECT_EQ(takeMessages(), Messages{"Error in IORegistryEntryCreateCFProperties()"});
  EXPECT_EQ(tsamp.time.current - tsamp.time.previous, std::chrono::seconds(60));
  EXPECT_EQ(tsamp.cpu.previous.user, 5u);
  EXPECT_EQ(tsamp.cpu.first.user, 1u);
  EXPECT_EQ(tsamp.vm.previous.faults, 100u);
  EXPECT_FALSE(tsamp.swapKnown);
  EXPECT_EQ(tsamp.network.current, kTraffic);
  EXPECT_EQ(tsamp.disk.current, (DiskTotals{1, 1, 1, 1}));
  EXPECT_EQ(tsamp.disk.previous, (DiskTotals{2, 513, 3, 1025}));
}

TEST_F(LibtallyTest, WalksTheMemoryAccordingToThePreference) {
  add(1);
  start();
  EXPECT_EQ(statistics.calls(MemoryRegions), 1) << "a new process";
  const auto walks = [&](std::uint32_t preference, bool registerRegions) {
    libtally_preg(1, preference);
    const int before = statistics.calls(MemoryRegions);
    sample(registerRegions);
    return statistics.calls(MemoryRegions) - before;
  };
  EXPECT_EQ(walks(0, false), 0);
  EXPECT_EQ(walks(0, true), 1);
  EXPECT_EQ(walks(1, true), 0);
  EXPECT_EQ(walks(2, false), 1);
  EXPECT_EQ(libtally_preg(1, 3), -1);
  task(1).process.command = "another program";
  EXPECT_EQ(walks(0, false), 1);
}

TEST_F(LibtallyTest, SharedObjectsCountOnceForTheSystem) {
  add(1).basic.virtualSize = 1000;
  add(2).basic.virtualSize = 500;
  const MemoryRegion kPrivate{0, 100, 40, false, false};
  const MemoryRegion kShared{7, 200, 80, true, false};
  const MemoryRegion kFramework{8, 300, 90, true, true};
  statistics.task(1).regions = {kPrivate, kShared, kShared, kFramework};
  statistics.task(2).regions = {kPrivate, kShared};
  start();
  EXPECT_EQ(record(1)->details->memory.current, (LibtallyMemory{40, 100, 80, 400, 300, 4}));
  const LibtallySystem& tsamp = *libtally_tsamp();
  EXPECT_EQ(tsamp.virtualSize, 1500u);
  EXPECT_EQ(tsamp.privateResident, 80u);
  EXPECT_EQ(tsamp.regions, 6u);
  EXPECT_EQ(tsamp.sharedResident, 80u);

  statistics.removeTask(1);
  statistics.task(2).regions = {kPrivate};
  sample(true);
  EXPECT_EQ(tsamp.sharedResident, 0u) << "nobody maps it any more";
  EXPECT_EQ(tsamp.regions, 1u);
}

}  // namespace
}  // namespace zorva

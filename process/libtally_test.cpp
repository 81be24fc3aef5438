#include "process/libtally.h"

#include <algorithm>
#include <cstdarg>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/Text.h"
#include "platform/sim/SimHandset.h"
#include "process/libtally_context.h"

namespace zorva {
namespace {

using Operation = SimSystemStatistics::Operation;
using std::chrono::seconds;

__attribute__((format(printf, 2, 3))) int collect(void* messages, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  static_cast<std::vector<std::string>*>(messages)->push_back(formatArguments(format, arguments));
  va_end(arguments);
  return 0;
}

class LibtallyTest : public testing::Test {
 protected:
  LibtallyTest() {
    libtally_use(statistics, handset.accounts());
    std::vector<std::int32_t> processes;
    statistics.listTasks(processes);
    for (const std::int32_t process : processes) statistics.removeTask(process);
  }
  ~LibtallyTest() override {
    libtally_fini();
    EXPECT_EQ(messages, std::vector<std::string>()) << "messages that nobody looked at";
  }

  int init() { return libtally_init(collect, &messages); }
  std::vector<std::string> takeMessages() { return std::exchange(messages, {}); }

  // A task with one thread.
  TaskSample& add(std::int32_t pid, std::int32_t runState = kThreadWaiting) {
    statistics.setTask(pid, "p" + std::to_string(pid), {});
    TaskSample& sample = statistics.task(pid).sample;
    sample.threads[0].runState = runState;
    return sample;
  }
  const LibtallyProcess* record(std::int32_t pid) {
    while (const LibtallyProcess* process = libtally_piterate()) {
      if (process->pid == pid) {
        while (libtally_piterate() != nullptr) continue;
        return process;
      }
    }
    return nullptr;
  }
  std::vector<std::int32_t> iterate() {
    std::vector<std::int32_t> pids;
    while (const LibtallyProcess* process = libtally_piterate()) pids.push_back(process->pid);
    return pids;
  }

  SimHandset handset;
  SimSystemStatistics& statistics = handset.statistics();
  std::vector<std::string> messages;
};

using Messages = std::vector<std::string>;
using Pids = std::vector<std::int32_t>;

int bySecondsDescending(void*, const LibtallyProcess& a, const LibtallyProcess& b) {
  const auto x = a.totalTime.current.seconds, y = b.totalTime.current.seconds;
  return x > y ? -1 : x < y ? 1 : 0;
}

TEST_F(LibtallyTest, InitTellsWhyItFailsAndReadsTheFixedFigures) {
  const struct {
    Operation operation;
    Messages expected;
  } kFailures[] = {
      {Operation::MemorySize, {"libtally_init(): Error in sysctl(): broken"}},
      {Operation::MaximumArgumentLength, {"libtally_init(): Error in sysctl(): broken"}},
      {Operation::OpenDeviceRegistry, {"Error in IOMasterPort()"}},
      {Operation::CpuLoad, {"Error in host_statistics(): broken"}},
      {Operation::TimeOfDay, {}},
  };
  for (const auto& failure : kFailures) {
    statistics.failNext(failure.operation, {5, "broken"});
    EXPECT_EQ(init(), -1);
    EXPECT_EQ(takeMessages(), failure.expected);
    EXPECT_EQ(libtally_tsamp(), nullptr);
    EXPECT_EQ(libtally_sample(false, false), -1);
  }

  statistics.system.reservedMemory = ReservedMemory{0x7FFFFFF, 0x8000000, 5};
  statistics.system.cpuLoad.idle = 7;
  ASSERT_EQ(libtally_init(nullptr, nullptr), 0);
  const LibtallySystem& tsamp = *libtally_tsamp();
  EXPECT_EQ(tsamp.seq, 0u);
  EXPECT_EQ(tsamp.memorySize, 512u << 20);
  EXPECT_EQ(tsamp.reservedPages, 0x10000000u / 4096) << "whole steps of 128 MiB";
  EXPECT_EQ(tsamp.cpu.first.idle, 7u);
  EXPECT_EQ(tsamp.time.first, SimHandset::kStart);
  EXPECT_EQ(libtally_set_interval(101), -1);
  EXPECT_EQ(libtally_set_interval(100), 0);
  EXPECT_EQ(libtally_preg(1, 2), -1);

  statistics.system.reservedMemory = ReservedMemory{0x7FFFFFF, 0, 0};
  ASSERT_EQ(init(), 0);
  EXPECT_EQ(libtally_tsamp()->reservedPages, 0u);
}

TEST_F(LibtallyTest, RecordsFollowTheirProcesses) {
  add(30);
  add(12);
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(iterate(), (Pids{12, 30}));
  EXPECT_EQ(iterate(), (Pids{12, 30})) << "starts again";

  statistics.removeTask(12);
  add(20);
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(libtally_preg(12, 2), 0) << "kept until an iteration passes it";
  EXPECT_EQ(record(30)->seq.previous, 1u);
  EXPECT_EQ(record(20)->seq.previous, 0u);
  EXPECT_EQ(libtally_preg(12, 2), -1);

  statistics.removeTask(30);
  ASSERT_EQ(libtally_sample(false, false), 0);
  libtally_psort([](void*, const LibtallyProcess&, const LibtallyProcess&) { return 0; }, nullptr);
  EXPECT_EQ(libtally_preg(30, 0), -1) << "a sort drops it as well";
  EXPECT_EQ(libtally_tsamp()->processes, 1u);

  statistics.endAfterNextListing(20);
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(iterate(), Pids());
  EXPECT_EQ(takeMessages(), Messages{"kinfo_for_pid(): Error in sysctl(): No such process"});

  add(40);
  ASSERT_EQ(libtally_sample(false, false), 0);
  statistics.failNext(Operation::TaskInformation, {5, "gone"});
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(libtally_preg(40, 0), -1) << "no information, no record";
}

TEST_F(LibtallyTest, AddsThreadTimesAndTellsTheStateOfTheBusiestThread) {
  TaskSample& task = add(5);
  task.basic.userTime = {10, 0};
  task.basic.systemTime = {0, 999999};
  task.threads[0].userTime = {0, 600000};
  task.threads[0].systemTime = {0, 700000};
  ThreadInfo idle;
  idle.userTime = {100, 0};
  idle.flags = kThreadIdleFlag | 1;
  idle.runState = kThreadUninterruptible;
  task.threads.push_back(idle);
  TaskSample& wild = add(6);
  wild.basic.userTime = {INT32_MAX, 999999};
  wild.threads[0].userTime = {1, INT32_MAX};

  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  const LibtallyProcess* const process = record(5);
  EXPECT_EQ(process->totalTime.current, (TimeValue{12, 299999}));
  EXPECT_EQ(process->totalTime.previous, process->totalTime.current);
  EXPECT_EQ(process->details->threads.current, 2u);
  EXPECT_STREQ(libtally_state_str(process->state), "stuck");

  statistics.task(5).sample.threads[0].userTime = {1, 600000};
  statistics.task(5).sample.threads.pop_back();
  ASSERT_EQ(libtally_sample(false, false), 0);
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
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  const char* const kTexts[] = {"running", "stopped", "sleeping", "stuck",  "halted",
                                "unknown", "idle",    "zombie",   "unknown"};
  for (std::int32_t pid = 1; pid <= 9; ++pid) {
    EXPECT_STREQ(libtally_state_str(record(pid)->state), kTexts[pid - 1]) << pid;
  }
  EXPECT_EQ(libtally_tsamp()->processesInState,
            (std::array<std::uint32_t, 8>{1, 1, 1, 1, 1, 1, 1, 2}));
  EXPECT_EQ(libtally_tsamp()->threads, 8u);
}

TEST_F(LibtallyTest, SortPlacesEqualsByProcessIdWhateverTheComparatorSays) {
  const std::int32_t kSeconds[] = {4, 9, 4, 0, 9};
  for (std::int32_t i = 0; i < 5; ++i) statistics.setTask(10 + i, "p", {kSeconds[i], 0});
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  libtally_psort(bySecondsDescending, nullptr);
  EXPECT_EQ(iterate(), (Pids{11, 14, 10, 12, 13}));
  EXPECT_EQ(iterate(), (Pids{11, 14, 10, 12, 13})) << "starts again";
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(iterate(), (Pids{10, 11, 12, 13, 14})) << "a new sample forgets the sort";

  for (std::int32_t pid = 20; pid < 200; ++pid) add(pid);
  ASSERT_EQ(libtally_sample(false, false), 0);
  std::uint32_t state = 1;
  libtally_psort(
      [](void* data, const LibtallyProcess&, const LibtallyProcess&) {
        auto& random = *static_cast<std::uint32_t*>(data);
        random = random * 1664525 + 1013904223;
        return static_cast<int>(random >> 30) - 1;
      },
      &state);
  Pids pids = iterate();
  std::ranges::sort(pids);
  EXPECT_EQ(pids.size(), 185u);
  EXPECT_EQ(std::ranges::adjacent_find(pids), pids.end()) << "every record once";
}

TEST_F(LibtallyTest, CountersAreFollowedThroughTheirWraps) {
  libtally_i64 counter;
  libtally_i64_init(counter, 0, 0xFFFFFFF0);
  EXPECT_EQ(libtally_i64_value(counter), 0xFFFFFFF0u);
  EXPECT_EQ(libtally_i64_update(counter, 0x10), 32);
  EXPECT_EQ(libtally_i64_value(counter), 0x100000010u);
  EXPECT_EQ(libtally_i64_update(counter, 0x8), -8);
  libtally_i64_init(counter, 3, 5);
  EXPECT_EQ(libtally_i64_update(counter, 0x80000005), INT32_MIN);
  EXPECT_EQ(libtally_i64_value(counter), std::uint64_t{3} - 0x80000000);

  TaskSample& task = add(1);
  task.events.faults = 0xFFFFFFF0;
  task.ports = 4;
  task.workQueue.threads = 2;
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  statistics.task(1).sample.events.faults = 0x10;
  statistics.task(1).sample.ports = 6;
  ASSERT_EQ(libtally_sample(false, false), 0);
  const LibtallyProcess* const process = record(1);
  EXPECT_EQ(process->details->faults.previous, 0xFFFFFFF0u);
  EXPECT_EQ(libtally_i64_value(process->details->faults.total), 0x100000010u);
  EXPECT_EQ(process->details->ports.previous, 4u);
  EXPECT_EQ(process->details->ports.current, 6u);
  EXPECT_EQ(process->details->workQueue.previous.threads, 2u);
}

TEST_F(LibtallyTest, SystemFiguresMoveFromSampleToSample) {
  auto& system = statistics.system;
  system.cpuLoad.user = 1;
  ASSERT_EQ(init(), 0);
  system.cpuLoad.user = 5;
  system.vmStatistics.faults = 100;
  system.loadAverages = {1.5, 0.5, 0.25};
  system.interfaceTraffic = {{1, 2, 1ULL << 33, 4}, {1, 1, 1, 1}};
  system.blockDrivers = {{"a", {1, 512, 2, 1024}}, {"b", {1, 1, 1, 1}}};
  system.frameworkMemory = 77;
  ASSERT_EQ(libtally_sample(false, false), 0);
  const LibtallySystem& tsamp = *libtally_tsamp();
  EXPECT_EQ(tsamp.cpu.previous.user, 1u) << "the ticks of the initialisation";
  EXPECT_EQ(tsamp.vm.previous.faults, 100u);
  EXPECT_EQ(tsamp.loadAverages, (std::array{1.5, 0.5, 0.25}));
  const NetworkTotals kTraffic{2, 3, (1ULL << 33) + 1, 5};
  EXPECT_EQ(tsamp.network.current, kTraffic);
  EXPECT_EQ(tsamp.network.previous, kTraffic);
  EXPECT_EQ(tsamp.disk.first, (DiskTotals{2, 513, 3, 1025}));
  EXPECT_TRUE(tsamp.swapKnown);
  EXPECT_EQ(tsamp.frameworkMemory, 0u) << "not asked for";

  handset.clock().set(SimHandset::kStart + seconds(60));
  system.cpuLoad.user = 9;
  system.vmStatistics.faults = 130;
  statistics.failNext(Operation::SwapUsage, {5, "broken"});
  statistics.failNext(Operation::InterfaceTraffic, {5, "broken"});
  statistics.failNext(Operation::BlockDriverTransfers, {5, "broken"});
  ASSERT_EQ(libtally_sample(false, true), 0);
  EXPECT_EQ(takeMessages(), Messages{"Error in IORegistryEntryCreateCFProperties()"});
  EXPECT_EQ(tsamp.time.current - tsamp.time.previous, seconds(60));
  EXPECT_EQ(tsamp.cpu.previous.user, 5u);
  EXPECT_EQ(tsamp.cpu.first.user, 1u);
  EXPECT_EQ(tsamp.vm.previous.faults, 100u);
  EXPECT_EQ(tsamp.vm.first.faults, 100u);
  EXPECT_FALSE(tsamp.swapKnown);
  EXPECT_EQ(tsamp.network.current, kTraffic);
  EXPECT_EQ(tsamp.disk.current, (DiskTotals{1, 1, 1, 1}));
  EXPECT_EQ(tsamp.disk.previous, (DiskTotals{2, 513, 3, 1025}));
  EXPECT_EQ(tsamp.frameworkMemory, 77u);

  statistics.failNext(Operation::BlockDrivers, {5, "broken"});
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(takeMessages(), Messages{"Error in IOServiceGetMatchingServices()"});
}

TEST_F(LibtallyTest, GathersFrameworkMemoryEveryIntervalthSample) {
  const auto gathered = [&](std::uint32_t interval) {
    EXPECT_EQ(init(), 0);
    EXPECT_EQ(libtally_set_interval(interval), 0);
    std::string when;
    for (int sample = 1; sample <= 7; ++sample) {
      const int before = statistics.calls(Operation::FrameworkMemory);
      EXPECT_EQ(libtally_sample(false, true), 0);
      if (statistics.calls(Operation::FrameworkMemory) > before) when += std::to_string(sample);
    }
    return when;
  };
  EXPECT_EQ(gathered(0), "1234567");
  EXPECT_EQ(gathered(1), "1234567");
  EXPECT_EQ(gathered(3), "147");
}

TEST_F(LibtallyTest, AFailedSampleTellsWhyAndKeepsTheTicks) {
  add(1);
  ASSERT_EQ(init(), 0);
  const struct {
    Operation operation;
    int code;
    int expected;
    Messages messages;
  } kFailures[] = {
      {Operation::ProcessorSets, 5, -1, {"Error in host_processor_sets(): broken"}},
      {Operation::PrivilegedAccess, 5, -1, {"Error in host_processor_set_priv(): broken"}},
      {Operation::Tasks, 5, -1, {"Error in processor_set_tasks(): broken"}},
      {Operation::KernelProcess, kKernelNoMemory, -1, {}},
      {Operation::LoadAverages, 5, -1, {"Error in getloadavg(): broken"}},
      {Operation::CpuLoad, 5, -1, {"Error in host_statistics(): broken"}},
      {Operation::TimeOfDay, 5, 5, {}},
  };
  for (const auto& failure : kFailures) {
    statistics.system.cpuLoad.user += 10;
    ASSERT_EQ(libtally_sample(false, false), 0);
    statistics.failNext(failure.operation, {failure.code, "broken"});
    EXPECT_EQ(libtally_sample(false, false), failure.expected);
    EXPECT_EQ(takeMessages(), failure.messages);
    EXPECT_EQ(libtally_tsamp()->cpu.previous, libtally_tsamp()->cpu.current);
  }
}

TEST_F(LibtallyTest, WalksTheMemoryAsThePreferenceSays) {
  const auto walks = [&](std::int32_t pid, bool registerRegions) {
    const int before = statistics.calls(Operation::MemoryRegions);
    EXPECT_EQ(libtally_sample(registerRegions, false), 0);
    EXPECT_NE(record(pid), nullptr);
    return statistics.calls(Operation::MemoryRegions) - before;
  };
  add(1);
  ASSERT_EQ(init(), 0);
  EXPECT_EQ(walks(1, false), 1) << "new";
  EXPECT_EQ(walks(1, false), 0);
  EXPECT_EQ(walks(1, true), 1);
  libtally_preg(1, 1);
  EXPECT_EQ(walks(1, true), 0);
  libtally_preg(1, 2);
  EXPECT_EQ(walks(1, false), 1);
  EXPECT_EQ(libtally_preg(1, 3), -1);
  libtally_preg(1, 0);
  statistics.task(1).sample.process.command = "another program";
  EXPECT_EQ(walks(1, false), 1);
}

TEST_F(LibtallyTest, SharedObjectsCountOnceForTheSystem) {
  add(1).basic.virtualSize = 1000;
  add(2).basic.virtualSize = 500;
  const MemoryRegion kPrivate{0, 100, 40, false, false};
  const MemoryRegion kShared{7, 200, 80, true, false};
  const MemoryRegion kFramework{8, 300, 90, true, true};
  statistics.task(1).regions = {kPrivate, kShared, kShared, kFramework};
  statistics.task(2).regions = {kPrivate, kShared};
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  const LibtallyMemory& memory = record(1)->details->memory.current;
  EXPECT_EQ(memory, (LibtallyMemory{40, 100, 80, 400, 300, 4}));
  const LibtallySystem& tsamp = *libtally_tsamp();
  EXPECT_EQ(tsamp.virtualSize, 1500u);
  EXPECT_EQ(tsamp.privateResident, 80u);
  EXPECT_EQ(tsamp.regions, 6u);
  EXPECT_EQ(tsamp.sharedResident, 80u);

  statistics.removeTask(1);
  statistics.task(2).regions = {kPrivate};
  ASSERT_EQ(libtally_sample(true, false), 0);
  EXPECT_EQ(tsamp.sharedResident, 0u) << "nobody maps it any more";
  EXPECT_EQ(tsamp.regions, 1u);
}

TEST_F(LibtallyTest, UserNamesAreLookedUpOnce) {
  ASSERT_EQ(init(), 0);
  handset.accounts().setUser("someone", {501, 501});
  const char* const name = libtally_username(501);
  EXPECT_STREQ(name, "someone");
  handset.accounts().removeUser("someone");
  EXPECT_EQ(libtally_username(501), name);
  EXPECT_EQ(libtally_username(77), nullptr);
  handset.accounts().setUser("late", {77, 77});
  EXPECT_STREQ(libtally_username(77), "late") << "an unknown user is asked for again";
}

TEST_F(LibtallyTest, ProcessesOfTheLauncherAreNamedAfterTheirExecutables) {
  statistics.system.launcherCommand = "Launcher";
  for (std::int32_t pid = 1; pid <= 4; ++pid) statistics.setTask(pid, "Launcher", {});
  statistics.task(1).executablePath = "/Applications/Notes.app/Notes";
  statistics.task(2).executablePath = "Plain";
  statistics.task(3).executablePath = "/ends/with/";
  ASSERT_EQ(init(), 0);
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(record(1)->command, "Notes");
  EXPECT_EQ(record(2)->command, "Plain");
  EXPECT_EQ(record(3)->command, "unknown");
  statistics.failNext(Operation::ExecutablePath, {5, "refused"});
  ASSERT_EQ(libtally_sample(false, false), 0);
  EXPECT_EQ(record(1)->command, "unknown");
  EXPECT_EQ(takeMessages(), Messages{"libtally_p_proc_command(): Error in sysctl(): refused"});
}

TEST_F(LibtallyTest, GathersNoMoreThanWasChosen) {
  add(1).threads[0].userTime = {3, 0};
  EXPECT_EQ(libtally_gather({}), -1);
  ASSERT_EQ(init(), 0);
  const int ticks = statistics.calls(Operation::CpuLoad);
  ASSERT_EQ(libtally_gather({TaskDetail::None, false, false}), 0);
  ASSERT_EQ(libtally_sample(true, true), 0);
  EXPECT_EQ(libtally_gather({}), -1) << "not within a round";
  EXPECT_EQ(record(1)->totalTime.current.seconds, 3);
  EXPECT_EQ(statistics.lastDetail(), TaskDetail::None);
  EXPECT_EQ(statistics.calls(Operation::CpuLoad), ticks);
  for (const Operation operation :
       {Operation::MemoryRegions, Operation::FrameworkMemory, Operation::LoadAverages,
        Operation::VmStatistics, Operation::SwapUsage, Operation::InterfaceTraffic,
        Operation::BlockDrivers}) {
    EXPECT_EQ(statistics.calls(operation), 0) << static_cast<int>(operation);
  }
}

TEST_F(LibtallyTest, BrokenContractsStopTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(libtally_piterate(), "libtally.*tsamp\\.seq != 0");
  ASSERT_EQ(init(), 0);
  EXPECT_DEATH(libtally_piterate(), "libtally.*tsamp\\.seq != 0");
  EXPECT_DEATH(libtally_psort(bySecondsDescending, nullptr), "libtally.*tsamp\\.seq != 0");
  EXPECT_STREQ(libtally_state_str(7), "unknown");
  EXPECT_DEATH(libtally_state_str(8), "libtally.*state <= LIBTALLY_STATE_MAX");
  const libtally::RegistryOrder order;
  const auto some = std::make_unique<libtally::Record>();
  EXPECT_DEATH(order(nullptr, some), "libtally.*a != NULL");
  EXPECT_DEATH(order(some, nullptr), "libtally.*b != NULL");
  statistics.system.launcherCommand = "Launcher";
  statistics.setTask(0, "Launcher", {});
  EXPECT_DEATH(libtally_sample(false, false), "libtally.*pinfo->psamp\\.pid != 0");
  statistics.removeTask(0);
  statistics.failNext(Operation::InterfaceTraffic, {kKernelNoMemory, "no memory"});
  EXPECT_EXIT(
      {
        // Only standard error is looked at.
        dup2(2, 1);
        libtally_sample(false, false);
      },
      testing::ExitedWithCode(1), "malloc failed");
}

}  // namespace
}  // namespace zorva

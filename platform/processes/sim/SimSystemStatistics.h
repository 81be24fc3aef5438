// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "platform/loop/Clock.h"
#include "platform/processes/SystemStatistics.h"
#include "platform/scenario/SimFaults.h"

namespace zorva {

/// The kernel's figures of the simulated handset: as set, for the whole system and for each task of
/// a table that can be changed at any time.
class SimSystemStatistics : public SystemStatistics {
 public:
  /// timeOfDay() returns this clock's time.
  explicit SimSystemStatistics(const Clock& clock) : clock_(clock) {}
  /// The same, with a fault point for each operation: "statistics." and its name.
  SimSystemStatistics(SimFaults& faults, const Clock& clock);

  /// Figures of the system, returned unchanged.
  struct System {
    std::uint64_t memorySize = 512ULL << 20;
    std::uint64_t pageSize = 4096;
    std::optional<ReservedMemory> reservedMemory;
    std::size_t maximumArgumentLength = 256 << 10;
    HostCpuLoad cpuLoad;
    std::array<double, 3> loadAverages{};
    HostVmStatistics vmStatistics;
    SwapUsage swapUsage;
    std::vector<NetworkTotals> interfaceTraffic;
    std::uint64_t frameworkMemory = 0;
    std::map<std::string, DiskTotals> blockDrivers;
    std::string launcherCommand;
  };
  System system;

  struct Task {
    /// The complete sample, including details that a caller does not request. The times in `basic`
    /// are those of the exited threads.
    TaskSample sample;
    std::vector<MemoryRegion> regions;
    std::string executablePath;
  };

  /// Adds a task to the table; replaces one with the same process id.
  void setTask(Task task);
  /// The same for a task with a name, a CPU time, all of it used by threads that have exited, and
  /// one waiting thread.
  void setTask(pid_t pid, const std::string& command, TimeValue cpuTime);
  /// The task in the table, for changes; it must exist.
  Task& task(pid_t pid) { return tasks_.at(pid); }
  void removeTask(pid_t pid) { tasks_.erase(pid); }
  /// Ends the task right after the next list, which still includes it.
  void endAfterNextListing(pid_t pid) { ending_ = pid; }

  enum class Operation {
    TimeOfDay,
    MemorySize,
    MaximumArgumentLength,
    CpuLoad,
    LoadAverages,
    VmStatistics,
    SwapUsage,
    InterfaceTraffic,
    FrameworkMemory,
    OpenDeviceRegistry,
    BlockDrivers,
    BlockDriverTransfers,
    ProcessorSets,
    PrivilegedAccess,
    Tasks,
    KernelProcess,
    TaskInformation,
    MemoryRegions,
    ExecutablePath,
  };
  /// Makes the next call of the operation fail with the result.
  void failNext(Operation operation, KernelResult result) {
    failures_[operation] = std::move(result);
  }

  /// The number of calls of the operation so far.
  int calls(Operation operation) const;
  /// The details requested by the last sample of a task.
  TaskDetail lastDetail() const { return lastDetail_; }

  KernelResult timeOfDay(Date& now) override;
  KernelResult memorySize(std::uint64_t& bytes) override;
  std::uint64_t pageSize() override { return system.pageSize; }
  std::optional<ReservedMemory> reservedMemory() override { return system.reservedMemory; }
  KernelResult maximumArgumentLength(std::size_t& bytes) override;
  KernelResult cpuLoad(HostCpuLoad& load) override;
  KernelResult loadAverages(double (&averages)[3]) override;
  KernelResult vmStatistics(HostVmStatistics& statistics) override;
  KernelResult swapUsage(SwapUsage& usage) override;
  KernelResult interfaceTraffic(std::vector<NetworkTotals>& interfaces) override;
  KernelResult frameworkMemory(std::uint64_t& bytes) override;
  KernelResult openDeviceRegistry() override;
  KernelResult blockDrivers(std::vector<std::string>& names) override;
  KernelResult blockDriverTransfers(const std::string& name, DiskTotals& transfers) override;
  TaskListResult listTasks(std::vector<std::int32_t>& processes) override;
  TaskSampleResult sampleTask(pid_t pid, TaskDetail detail, TaskSample& sample) override;
  KernelResult memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) override;
  std::string_view launcherCommand() override { return system.launcherCommand; }
  KernelResult executablePath(pid_t pid, std::span<char> buffer, std::size_t& length) override;

 private:
  // Counts the call. Returns the failure set for it, or ok.
  KernelResult enter(Operation operation);
  template <typename Figure>
  KernelResult answer(Operation operation, const Figure& figure, Figure& result);

  const Clock& clock_;
  std::map<Operation, SimFaultPoint> faultPoints_;
  std::map<std::int32_t, Task> tasks_;
  std::optional<std::int32_t> ending_;
  std::map<Operation, KernelResult> failures_;
  std::map<Operation, int> calls_;
  TaskDetail lastDetail_ = TaskDetail::None;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/processes/SystemStatistics.h"
#include "platform/processes/linux/ProcfsParsers.h"

namespace zorva {

/// The kernel's figures from procfs and sysfs; docs/process-figures.md names the source of each.
///
/// A sample of a task without details takes one open, read and close of a small file, relative to
/// an open descriptor of procfs, and allocates nothing.
class LinuxSystemStatistics : public SystemStatistics {
 public:
  /// The roots are for tests. Without procfs, every call that reads it fails.
  explicit LinuxSystemStatistics(const std::string& procRoot = "/proc",
                                 std::string sysRoot = "/sys");
  LinuxSystemStatistics(const LinuxSystemStatistics&) = delete;
  LinuxSystemStatistics& operator=(const LinuxSystemStatistics&) = delete;
  ~LinuxSystemStatistics() override;

  KernelResult timeOfDay(Date& now) override;
  KernelResult memorySize(std::uint64_t& bytes) override;
  std::uint64_t pageSize() override { return pageSize_; }
  std::optional<ReservedMemory> reservedMemory() override;
  KernelResult maximumArgumentLength(std::size_t& bytes) override;
  KernelResult cpuLoad(HostCpuLoad& load) override;
  KernelResult loadAverages(double (&averages)[3]) override;
  KernelResult vmStatistics(HostVmStatistics& statistics) override;
  KernelResult swapUsage(SwapUsage& usage) override;
  KernelResult interfaceTraffic(std::vector<NetworkTotals>& interfaces) override;
  KernelResult frameworkMemory(std::uint64_t& bytes) override;
  KernelResult openDeviceRegistry() override { return {}; }
  KernelResult blockDrivers(std::vector<std::string>& names) override;
  KernelResult blockDriverTransfers(const std::string& name, DiskTotals& transfers) override;
  TaskListResult listTasks(std::vector<std::int32_t>& processes) override;
  TaskSampleResult sampleTask(pid_t pid, TaskDetail detail, TaskSample& sample) override;
  KernelResult memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) override;
  std::string_view launcherCommand() override { return {}; }
  KernelResult executablePath(pid_t pid, std::span<char> buffer, std::size_t& length) override;

 private:
  KernelResult readText(int directory, const char* path);
  KernelResult readHostStat(HostStat& stat);
  KernelResult readStat(const char* path, ProcStat& stat);
  KernelResult listNumbers(int directory, std::vector<std::int32_t>& numbers);
  KernelResult listThreads(pid_t pid);
  KernelResult takeThreads(pid_t pid, TaskSample& sample);
  KernelResult takeContextSwitches(pid_t pid, TaskEvents& events);
  std::uint32_t countDescriptors(pid_t pid);

  std::string sysRoot_;
  int proc_;  ///< descriptor of procfs, -1 without one
  std::uint64_t pageSize_;
  std::uint64_t ticksPerSecond_;
  std::optional<ReservedMemory> reservedMemory_;  ///< after the first read
  std::optional<std::int64_t> bootSeconds_;       ///< as last read with the CPU ticks

  // Reused from call to call, so that their memory is allocated once.
  std::array<char, 4096> line_;
  alignas(std::uint64_t) std::array<char, 32768> entries_;  ///< entries of a directory
  std::vector<std::int32_t> numbers_;
  std::string text_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "platform/base/Date.h"

namespace zorva {

/// Result of a kernel call: 0 is success, anything else an error code with the kernel's own text
/// for it.
struct KernelResult {
  int code = 0;
  std::string text;
  bool ok() const { return code == 0; }
};

/// A duration; microseconds are below 1000000.
struct TimeValue {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  bool operator==(const TimeValue&) const = default;
};

/// CPU time of the host by kind, in clock ticks summed over the processors.
struct HostCpuLoad {
  std::uint32_t user = 0;
  std::uint32_t system = 0;
  std::uint32_t idle = 0;
  std::uint32_t nice = 0;
  bool operator==(const HostCpuLoad&) const = default;
};

/// Virtual memory of the host: current page counts, then event counts since boot.
struct HostVmStatistics {
  std::uint64_t free = 0;
  std::uint64_t active = 0;
  std::uint64_t inactive = 0;
  std::uint64_t wired = 0;
  std::uint64_t zeroFilled = 0;
  std::uint64_t reactivations = 0;
  std::uint64_t pageIns = 0;
  std::uint64_t pageOuts = 0;
  std::uint64_t faults = 0;
  std::uint64_t copyOnWriteFaults = 0;
  std::uint64_t lookups = 0;
  std::uint64_t hits = 0;
  std::uint64_t purgeable = 0;
  std::uint64_t purges = 0;
  std::uint64_t speculative = 0;
  bool operator==(const HostVmStatistics&) const = default;
};

/// Swap space, in bytes.
struct SwapUsage {
  std::uint64_t total = 0;
  std::uint64_t available = 0;
  std::uint64_t used = 0;
  bool operator==(const SwapUsage&) const = default;
};

/// Memory that the firmware reserves, in bytes by kind.
struct ReservedMemory {
  std::uint64_t reserved = 0;
  std::uint64_t unusable = 0;
  std::uint64_t other = 0;
};

/// Traffic of an interface since it came up, or of several.
struct NetworkTotals {
  std::uint64_t packetsIn = 0;
  std::uint64_t packetsOut = 0;
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
  bool operator==(const NetworkTotals&) const = default;
};

/// Transfers of a block-storage driver since boot, or of several.
struct DiskTotals {
  std::uint64_t readOperations = 0;
  std::uint64_t readBytes = 0;
  std::uint64_t writeOperations = 0;
  std::uint64_t writeBytes = 0;
  bool operator==(const DiskTotals&) const = default;
};

/// The maximum length of a command name, in bytes.
inline constexpr std::size_t kCommandLength = 16;

/// A process's identity in the kernel.
struct KernelProcess {
  pid_t pid = 0;                  ///< process id
  std::int32_t parent = 0;        ///< process id of its parent
  std::int32_t group = 0;         ///< process group id
  std::uint32_t user = 0;         ///< effective user id; only with TaskDetail::Identity
  std::string command;            ///< short name, any bytes, at most kCommandLength of them
  std::int64_t startSeconds = 0;  ///< start, since 1970-01-01 UTC
  std::int32_t startMicroseconds = 0;
  std::uint32_t flags = 0;
  std::uint32_t cpuType = 0;  ///< 0 if the kernel does not report it
  bool zombie = false;        ///< has ended but is not reaped yet
};

/// Basic information on a task. Sizes in bytes.
struct TaskBasicInfo {
  std::int32_t suspendCount = 0;
  std::uint64_t virtualSize = 0;
  std::uint64_t residentSize = 0;
  TimeValue userTime;    ///< user time of the threads that are not in TaskSample::threads
  TimeValue systemTime;  ///< their system time
  std::int32_t policy = 0;
  bool operator==(const TaskBasicInfo&) const = default;
};

/// Run states of a thread, as in ThreadInfo::runState.
inline constexpr std::int32_t kThreadRunning = 1;
inline constexpr std::int32_t kThreadStopped = 2;
inline constexpr std::int32_t kThreadWaiting = 3;
inline constexpr std::int32_t kThreadUninterruptible = 4;
inline constexpr std::int32_t kThreadHalted = 5;

inline constexpr std::uint32_t kThreadIdleFlag = 0x2;

struct ThreadInfo {
  TimeValue userTime;
  TimeValue systemTime;
  std::int32_t runState = 0;
  std::uint32_t flags = 0;
  std::int32_t sleepSeconds = 0;  ///< how long a waiting thread has slept; above 0: idle
};

/// Event counters of a task. They wrap at 32 bits.
struct TaskEvents {
  std::uint32_t faults = 0;
  std::uint32_t pageIns = 0;
  std::uint32_t copyOnWriteFaults = 0;
  std::uint32_t messagesSent = 0;
  std::uint32_t messagesReceived = 0;
  std::uint32_t machSystemCalls = 0;
  std::uint32_t unixSystemCalls = 0;
  std::uint32_t contextSwitches = 0;
};

/// A memory region of a task. Sizes in bytes.
struct MemoryRegion {
  std::uint64_t object = 0;  ///< identity of the memory object that it maps, or of the object's
                             ///< part that starts at the region's start; 0: a private one
  std::uint64_t virtualSize = 0;
  std::uint64_t residentSize = 0;
  bool shared = false;           ///< other tasks also map the object
  bool sharedFramework = false;  ///< belongs to a shared framework
};

/// Threads of a task's work queue.
struct WorkQueue {
  std::uint32_t threads = 0;
  std::uint32_t running = 0;
  std::uint32_t blocked = 0;
};

/// The details of a task that a caller requests beyond its ids, command name, start time, flags,
/// sizes and CPU time. Each costs more kernel calls per task.
enum class TaskDetail : std::uint32_t {
  None = 0,
  Identity = 1 << 0,  ///< effective user id
  Threads = 1 << 1,   ///< every live thread
  Ports = 1 << 2,     ///< number of port names (open descriptors on Linux)
  Events = 1 << 3,    ///< event counters
  WorkQueue = 1 << 4,
};
constexpr TaskDetail operator|(TaskDetail a, TaskDetail b) {
  return static_cast<TaskDetail>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr bool wants(TaskDetail all, TaskDetail one) {
  return (static_cast<std::uint32_t>(all) & static_cast<std::uint32_t>(one)) != 0;
}
inline constexpr TaskDetail kEveryTaskDetail = TaskDetail::Identity | TaskDetail::Threads |
                                               TaskDetail::Ports | TaskDetail::Events |
                                               TaskDetail::WorkQueue;

/// One sample of one task. A caller reuses it, so that its texts and lists are allocated once.
/// Figures that were not requested, or that the kernel does not report, are 0 or empty.
struct TaskSample {
  KernelProcess process;
  TaskBasicInfo basic;
  std::vector<ThreadInfo> threads;  ///< empty without TaskDetail::Threads; `basic` then has the
                                    ///< times of all threads
  std::uint32_t ports = 0;
  TaskEvents events;
  WorkQueue workQueue;
};

/// The steps of listing the tasks.
enum class TaskListStep { ProcessorSets, PrivilegedAccess, Tasks };
struct TaskListResult : KernelResult {
  TaskListStep failed = TaskListStep::Tasks;  ///< where it failed, if it did
};

/// The steps of sampling one task.
enum class TaskSampleStep { KernelProcess, TaskInformation };
struct TaskSampleResult : KernelResult {
  TaskSampleStep failed = TaskSampleStep::KernelProcess;  ///< where it failed, if it did
};

/// The kernel's figures for the whole system and every task in it. Every call reads them again; a
/// call that fails leaves its output unchanged, unless stated otherwise.
class SystemStatistics {
 public:
  virtual ~SystemStatistics() = default;

  virtual KernelResult timeOfDay(Date& now) = 0;
  /// Bytes of physical memory.
  virtual KernelResult memorySize(std::uint64_t& bytes) = 0;
  /// Bytes per page of memory; never 0.
  virtual std::uint64_t pageSize() = 0;
  /// Nothing unless all of its figures are known. They never change while the system is running, so
  /// they need not be read again.
  virtual std::optional<ReservedMemory> reservedMemory() = 0;
  /// The maximum size of a process's arguments, in bytes.
  virtual KernelResult maximumArgumentLength(std::size_t& bytes) = 0;
  virtual KernelResult cpuLoad(HostCpuLoad& load) = 0;
  /// Averages over 1, 5 and 15 minutes.
  virtual KernelResult loadAverages(double (&averages)[3]) = 0;
  virtual KernelResult vmStatistics(HostVmStatistics& statistics) = 0;
  virtual KernelResult swapUsage(SwapUsage& usage) = 0;
  /// Replaces the list by the traffic of every interface.
  virtual KernelResult interfaceTraffic(std::vector<NetworkTotals>& interfaces) = 0;
  /// Bytes of shared frameworks that the calling process has mapped.
  virtual KernelResult frameworkMemory(std::uint64_t& bytes) = 0;

  /// Opens the device registry for the next two functions.
  virtual KernelResult openDeviceRegistry() = 0;
  /// Replaces the list by the names of the block-storage drivers.
  virtual KernelResult blockDrivers(std::vector<std::string>& names) = 0;
  /// The driver's transfers; figures that it does not report are 0.
  virtual KernelResult blockDriverTransfers(const std::string& name, DiskTotals& transfers) = 0;

  /// Replaces the list by the ids of all tasks, ascending.
  virtual TaskListResult listTasks(std::vector<std::int32_t>& processes) = 0;
  /// Samples one task. Fails at TaskSampleStep::KernelProcess if it has ended, and at either step
  /// if it ends meanwhile. The sample is undefined after a failure.
  virtual TaskSampleResult sampleTask(pid_t pid, TaskDetail detail, TaskSample& sample) = 0;
  /// Replaces the list by the memory regions of one task. The most expensive call of all.
  virtual KernelResult memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) = 0;

  /// Command name of the launcher whose processes are named after their executables instead; empty
  /// if there is no such launcher.
  virtual std::string_view launcherCommand() = 0;
  /// Copies the path of the executable, as in the process's arguments, into the buffer and sets its
  /// length. A path that does not fit is truncated.
  virtual KernelResult executablePath(pid_t pid, std::span<char> buffer, std::size_t& length) = 0;
};

}  // namespace zorva

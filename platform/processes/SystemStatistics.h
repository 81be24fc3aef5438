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

/// Outcome of a kernel call: 0 is success, anything else a code with the kernel's own text for it.
struct KernelResult {
  int code = 0;
  std::string text;
  bool ok() const { return code == 0; }
};

/// A span of time; microseconds stay below 1000000.
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

/// Virtual memory of the host: page counts at the moment, then event counts since the boot.
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

/// Memory that the firmware keeps from the system, in bytes by kind.
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

/// Transfers of a block-storage driver since the boot, or of several.
struct DiskTotals {
  std::uint64_t readOperations = 0;
  std::uint64_t readBytes = 0;
  std::uint64_t writeOperations = 0;
  std::uint64_t writeBytes = 0;
  bool operator==(const DiskTotals&) const = default;
};

/// The most bytes of a command name.
inline constexpr std::size_t kCommandLength = 16;

/// What the kernel keeps of a process's identity.
struct KernelProcess {
  pid_t pid = 0;                  ///< process id
  std::int32_t parent = 0;        ///< process id of its parent
  std::int32_t group = 0;         ///< process group id
  std::uint32_t user = 0;         ///< effective user id; only with TaskDetail::Identity
  std::string command;            ///< short name, any bytes, at most kCommandLength of them
  std::int64_t startSeconds = 0;  ///< start, since 1970-01-01 UTC
  std::int32_t startMicroseconds = 0;
  std::uint32_t flags = 0;
  std::uint32_t cpuType = 0;  ///< 0 where the kernel does not report it
  bool zombie = false;        ///< has ended, is not yet reaped
};

/// Basic information on a task. Sizes in bytes.
struct TaskBasicInfo {
  std::int32_t suspendCount = 0;
  std::uint64_t virtualSize = 0;
  std::uint64_t residentSize = 0;
  TimeValue userTime;    ///< user time of the threads that are not among TaskSample::threads
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

/// A piece of a task's memory. Sizes in bytes.
struct MemoryRegion {
  std::uint64_t object = 0;  ///< identity of the memory object behind it, or of the object's part
                             ///< that starts where the region does; 0: a private one
  std::uint64_t virtualSize = 0;
  std::uint64_t residentSize = 0;
  bool shared = false;           ///< other tasks map the object too
  bool sharedFramework = false;  ///< lies in the region of the shared frameworks
};

/// Threads of a task's work queue.
struct WorkQueue {
  std::uint32_t threads = 0;
  std::uint32_t running = 0;
  std::uint32_t blocked = 0;
};

/// What a caller wants to know of a task beyond its ids, command name, start time, flags, sizes and
/// CPU time. Each costs more kernel calls per task.
enum class TaskDetail : std::uint32_t {
  None = 0,
  Identity = 1 << 0,  ///< effective user id
  Threads = 1 << 1,   ///< every live thread
  Ports = 1 << 2,     ///< number of port names, or of open descriptors if there are no ports
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

/// One sample of one task. A caller keeps one and passes it again and again, so that its texts and
/// lists are allocated once. What was not asked for, or the kernel does not report, is 0 or empty.
struct TaskSample {
  KernelProcess process;
  TaskBasicInfo basic;
  std::vector<ThreadInfo> threads;  ///< empty without TaskDetail::Threads; `basic` then holds the
                                    ///< times of all threads
  std::uint32_t ports = 0;
  TaskEvents events;
  WorkQueue workQueue;
};

/// The steps of listing the tasks.
enum class TaskListStep { ProcessorSets, PrivilegedAccess, Tasks };
struct TaskListResult : KernelResult {
  TaskListStep failed = TaskListStep::Tasks;  ///< where it failed, when it did
};

/// The steps of looking at one task.
enum class TaskSampleStep { KernelProcess, TaskInformation };
struct TaskSampleResult : KernelResult {
  TaskSampleStep failed = TaskSampleStep::KernelProcess;  ///< where it failed, when it did
};

/// The kernel's figures for the whole system and every task in it. Every call reads anew; a call
/// that is not ok leaves its result as it was, unless it says otherwise.
class SystemStatistics {
 public:
  virtual ~SystemStatistics() = default;

  virtual KernelResult timeOfDay(Date& now) = 0;
  /// Bytes of physical memory.
  virtual KernelResult memorySize(std::uint64_t& bytes) = 0;
  /// Bytes of a page of memory; never 0.
  virtual std::uint64_t pageSize() = 0;
  /// Nothing unless all of its figures are known. They never change while the system runs, so they
  /// need not be read again.
  virtual std::optional<ReservedMemory> reservedMemory() = 0;
  /// The most bytes that the arguments of a process can take.
  virtual KernelResult maximumArgumentLength(std::size_t& bytes) = 0;
  virtual KernelResult cpuLoad(HostCpuLoad& load) = 0;
  /// Averages over 1, 5 and 15 minutes.
  virtual KernelResult loadAverages(double (&averages)[3]) = 0;
  virtual KernelResult vmStatistics(HostVmStatistics& statistics) = 0;
  virtual KernelResult swapUsage(SwapUsage& usage) = 0;
  /// The traffic of every interface, in a list that is replaced.
  virtual KernelResult interfaceTraffic(std::vector<NetworkTotals>& interfaces) = 0;
  /// Bytes of shared frameworks that the calling process has mapped.
  virtual KernelResult frameworkMemory(std::uint64_t& bytes) = 0;

  /// Makes the device registry ready for the two calls after it.
  virtual KernelResult openDeviceRegistry() = 0;
  /// The names of the block-storage drivers, in a list that is replaced.
  virtual KernelResult blockDrivers(std::vector<std::string>& names) = 0;
  /// What the driver has transferred; figures that it does not report are 0.
  virtual KernelResult blockDriverTransfers(const std::string& name, DiskTotals& transfers) = 0;

  /// The ids of all tasks, ascending, in a list that is replaced.
  virtual TaskListResult listTasks(std::vector<std::int32_t>& processes) = 0;
  /// Samples one task. Fails at TaskSampleStep::KernelProcess when it has gone, and at either step
  /// when it goes in the middle of the look. The sample holds no defined figures after a failure.
  virtual TaskSampleResult sampleTask(pid_t pid, TaskDetail detail, TaskSample& sample) = 0;
  /// The memory of one task, in a list that is replaced. The dearest look of all.
  virtual KernelResult memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) = 0;

  /// Command name of the launcher whose processes are better named after their executables; empty
  /// where there is no such launcher.
  virtual std::string_view launcherCommand() = 0;
  /// Copies the path of the executable, as in the process's arguments, into the buffer and
  /// sets its length. A path that does not fit is cut.
  virtual KernelResult executablePath(pid_t pid, std::span<char> buffer, std::size_t& length) = 0;
};

}  // namespace zorva

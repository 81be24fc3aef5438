// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxSystemStatistics.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/kit/files/DirectoryEntries.h"
#include "platform/processes/linux/ProcfsFiles.h"

namespace zorva {
namespace {

constexpr std::uint64_t kKilobyte = 1024;

KernelResult garbled() {
  return failure(EBADMSG);
}

ThreadInfo threadOf(const ProcStat& stat, std::uint64_t ticksPerSecond) {
  ThreadInfo thread;
  thread.userTime = timeOfTicks(stat.userTicks, ticksPerSecond);
  thread.systemTime = timeOfTicks(stat.systemTicks, ticksPerSecond);
  switch (stat.state) {
    case 'R':
      thread.runState = kThreadRunning;
      break;
    case 'I':  // an idle kernel thread; how long is unknown
      thread.sleepSeconds = 1;
      [[fallthrough]];
    case 'S':
    case 'P':
      thread.runState = kThreadWaiting;
      break;
    case 'D':
      thread.runState = kThreadUninterruptible;
      break;
    case 'T':
    case 't':
      thread.runState = kThreadStopped;
      break;
    case 'Z':
    case 'X':
      thread.runState = kThreadHalted;
      break;
    default:
      break;
  }
  return thread;
}

}  // namespace

LinuxSystemStatistics::LinuxSystemStatistics(const std::string& procRoot, std::string sysRoot)
    : sysRoot_(std::move(sysRoot)),
      proc_(openDirectory(AT_FDCWD, procRoot.c_str())),
      pageSize_(static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE))),
      ticksPerSecond_(static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK))) {}

LinuxSystemStatistics::~LinuxSystemStatistics() {
  if (proc_ >= 0) ::close(proc_);
}

// Reads the whole file into text_.
KernelResult LinuxSystemStatistics::readText(int directory, const char* path) {
  constexpr std::size_t kStep = 4096;  // larger than most such files
  const Descriptor file(::openat(directory, path, O_RDONLY | O_CLOEXEC));
  if (!file) return failure(errno);
  for (std::size_t length = 0;;) {
    text_.resize(std::max({text_.size(), length + kStep, 2 * length}));
    const ssize_t count = readFully(file.get(), std::span(text_).subspan(length));
    if (count < 0) return failure(errno);
    length += static_cast<std::size_t>(count);
    if (length < text_.size()) {
      text_.resize(length);
      return {};
    }
  }
}

KernelResult LinuxSystemStatistics::readHostStat(HostStat& stat) {
  if (auto result = readText(proc_, "stat"); !result.ok()) return result;
  if (!parseHostStat(text_, stat)) return garbled();
  bootSeconds_ = stat.bootSeconds;
  return {};
}

// The one open, read and close of a sample. The name in `stat` points into line_ until the next
// call.
KernelResult LinuxSystemStatistics::readStat(const char* path, ProcStat& stat) {
  const int file = ::openat(proc_, path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return failure(errno);
  // The kernel returns such a line as a whole.
  const ssize_t length = ::read(file, line_.data(), line_.size());
  const int error = errno;
  ::close(file);
  if (length < 0) return failure(error);
  return parseProcStat({line_.data(), static_cast<std::size_t>(length)}, stat) ? KernelResult{}
                                                                               : garbled();
}

KernelResult LinuxSystemStatistics::listNumbers(int directory, std::vector<std::int32_t>& numbers) {
  numbers.clear();
  if (::lseek(directory, 0, SEEK_SET) < 0) return failure(errno);
  const auto add = [&](std::int32_t number, const char*) {
    if (number > 0) numbers.push_back(number);
  };
  const int error = forEachNumberedEntry(directory, entries_, add);
  if (!std::is_sorted(numbers.begin(), numbers.end())) std::sort(numbers.begin(), numbers.end());
  return resultOf(error);
}

// Lists the live threads in numbers_; fails if the process has ended.
KernelResult LinuxSystemStatistics::listThreads(pid_t pid) {
  const Descriptor tasks(openDirectory(proc_, ProcPath(pid, "task").text()));
  if (!tasks) return failure(errno);
  KernelResult result = listNumbers(tasks.get(), numbers_);
  return result.ok() && numbers_.empty() ? failure(ESRCH) : result;
}

KernelResult LinuxSystemStatistics::timeOfDay(Date& now) {
  timeval time{};
  if (::gettimeofday(&time, nullptr) != 0) return failure(errno);
  now = Date(std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec));
  return {};
}

KernelResult LinuxSystemStatistics::memorySize(std::uint64_t& bytes) {
  if (auto result = readText(proc_, "meminfo"); !result.ok()) return result;
  const auto total = namedFigure(text_, "MemTotal:");
  if (!total) return garbled();
  bytes = *total * kKilobyte;
  return {};
}

std::optional<ReservedMemory> LinuxSystemStatistics::reservedMemory() {
  if (reservedMemory_) return reservedMemory_;
  const Descriptor ranges(openDirectory(AT_FDCWD, (sysRoot_ + "/firmware/memmap").c_str()));
  if (!ranges) return std::nullopt;
  ReservedMemory memory;
  bool complete = true;
  const int error = forEachEntry(ranges.get(), entries_, [&](const char* range) {
    const auto read = [&](const char* file) {
      return readText(ranges.get(), (std::string(range) + file).c_str()).ok();
    };
    const auto figure = [&](const char* file, std::uint64_t& value) {
      const auto found = read(file) ? hexadecimalFigure(text_) : std::nullopt;
      value = found.value_or(0);
      return found.has_value();
    };
    std::uint64_t start = 0, end = 0;
    if (figure("/start", start) && figure("/end", end) && end >= start && read("/type")) {
      addFirmwareRange(text_, end - start + 1, memory);
    } else {
      complete = false;
    }
  });
  if (error == 0 && complete) reservedMemory_ = memory;
  return reservedMemory_;
}

KernelResult LinuxSystemStatistics::maximumArgumentLength(std::size_t& bytes) {
  const long length = ::sysconf(_SC_ARG_MAX);
  if (length <= 0) return failure(EINVAL);
  bytes = static_cast<std::size_t>(length);
  return {};
}

KernelResult LinuxSystemStatistics::cpuLoad(HostCpuLoad& load) {
  HostStat stat;
  KernelResult result = readHostStat(stat);
  if (result.ok()) load = stat.load;
  return result;
}

KernelResult LinuxSystemStatistics::loadAverages(double (&averages)[3]) {
  if (auto result = readText(proc_, "loadavg"); !result.ok()) return result;
  double read[3] = {};
  if (!parseLoadAverages(text_, read)) return garbled();
  std::ranges::copy(read, averages);
  return {};
}

KernelResult LinuxSystemStatistics::vmStatistics(HostVmStatistics& statistics) {
  if (auto result = readText(proc_, "meminfo"); !result.ok()) return result;
  const auto figure = [&](const char* name) { return namedFigure(text_, name).value_or(0); };
  const auto pages = [&](const char* name) { return figure(name) * kKilobyte / pageSize_; };
  HostVmStatistics read;
  read.free = pages("MemFree:");
  read.active = pages("Active:");
  read.inactive = pages("Inactive:");
  read.wired =
      pages("Unevictable:") + pages("SUnreclaim:") + pages("KernelStack:") + pages("PageTables:");
  if (auto result = readText(proc_, "vmstat"); !result.ok()) return result;
  read.reactivations = figure("pgactivate");
  read.pageIns = pages("pgpgin");  // in kilobytes
  read.pageOuts = pages("pgpgout");
  read.faults = figure("pgfault");
  read.purges = figure("pglazyfreed");
  statistics = read;
  return {};
}

KernelResult LinuxSystemStatistics::swapUsage(SwapUsage& usage) {
  if (auto result = readText(proc_, "meminfo"); !result.ok()) return result;
  const auto total = namedFigure(text_, "SwapTotal:");
  const auto free = namedFigure(text_, "SwapFree:");
  if (!total || !free) return garbled();
  usage = {*total * kKilobyte, *free * kKilobyte, (*total - std::min(*free, *total)) * kKilobyte};
  return {};
}

KernelResult LinuxSystemStatistics::interfaceTraffic(std::vector<NetworkTotals>& interfaces) {
  if (auto result = readText(proc_, "net/dev"); !result.ok()) return result;
  parseInterfaceTraffic(text_, interfaces);
  return {};
}

KernelResult LinuxSystemStatistics::frameworkMemory(std::uint64_t& bytes) {
  if (auto result = readText(proc_, "self/maps"); !result.ok()) return result;
  std::vector<MemoryRegion> regions;
  parseMappings(text_, regions);
  bytes = 0;
  for (const MemoryRegion& region : regions) {
    if (region.sharedFramework) bytes += region.virtualSize;
  }
  return {};
}

KernelResult LinuxSystemStatistics::blockDrivers(std::vector<std::string>& names) {
  const Descriptor block(openDirectory(AT_FDCWD, (sysRoot_ + "/block").c_str()));
  if (!block) return failure(errno);
  names.clear();
  const int error = forEachEntry(block.get(), entries_, [&](const char* name) {
    // Only disks with a device: loop and mapped disks would count its transfers twice, and so would
    // the hidden paths of a multipath disk.
    const std::string disk = name;
    if (::faccessat(block.get(), (disk + "/device").c_str(), F_OK, 0) != 0) return;
    if (readText(block.get(), (disk + "/hidden").c_str()).ok() && text_.starts_with("1")) return;
    names.push_back(disk);
  });
  std::sort(names.begin(), names.end());
  return resultOf(error);
}

KernelResult LinuxSystemStatistics::blockDriverTransfers(const std::string& name,
                                                         DiskTotals& transfers) {
  if (auto result = readText(AT_FDCWD, (sysRoot_ + "/block/" + name + "/stat").c_str());
      !result.ok()) {
    return result;
  }
  return parseDiskStat(text_, transfers) ? KernelResult{} : garbled();
}

TaskListResult LinuxSystemStatistics::listTasks(std::vector<std::int32_t>& processes) {
  if (proc_ < 0) return {failure(ENOENT), TaskListStep::ProcessorSets};
  return {listNumbers(proc_, processes), TaskListStep::Tasks};
}

TaskSampleResult LinuxSystemStatistics::sampleTask(pid_t pid, TaskDetail detail,
                                                   TaskSample& sample) {
  ProcStat stat;
  if (auto result = readStat(ProcPath(pid, "stat").text(), stat); !result.ok()) {
    return {std::move(result), TaskSampleStep::KernelProcess};
  }
  // The kernel appends the current work to its workers' names.
  sample.process.command.assign(stat.command.substr(0, kCommandLength));
  if (!bootSeconds_) {
    HostStat host;
    if (!readHostStat(host).ok()) bootSeconds_ = 0;
  }
  const TimeValue sinceBoot = timeOfTicks(stat.startTicks, ticksPerSecond_);
  sample.process.pid = pid;
  sample.process.parent = stat.parent;
  sample.process.group = stat.group;
  sample.process.user = 0;
  sample.process.startSeconds = *bootSeconds_ + sinceBoot.seconds;
  sample.process.startMicroseconds = sinceBoot.microseconds;
  sample.process.flags = stat.flags;
  // A process whose first thread has ended shows "Z" while others are still alive.
  sample.process.zombie = (stat.state == 'Z' || stat.state == 'X') && stat.threads <= 1;
  sample.basic.suspendCount = stat.state == 'T' || stat.state == 't' ? 1 : 0;
  sample.basic.virtualSize = stat.virtualBytes;
  sample.basic.residentSize = stat.residentPages * pageSize_;
  sample.basic.userTime = timeOfTicks(stat.userTicks, ticksPerSecond_);
  sample.basic.systemTime = timeOfTicks(stat.systemTicks, ticksPerSecond_);
  sample.basic.policy = stat.policy;
  sample.threads.clear();
  sample.ports = 0;
  sample.events = {};
  sample.workQueue = {};
  if (detail == TaskDetail::None) return {};

  if (wants(detail, TaskDetail::Identity)) {
    KernelResult result = readText(proc_, ProcPath(pid, "status").text());
    const auto user = result.ok() ? effectiveUser(text_) : std::nullopt;
    if (result.ok() && !user) result = garbled();
    if (!user) return {std::move(result), TaskSampleStep::KernelProcess};
    sample.process.user = *user;
  }
  if (wants(detail, TaskDetail::Ports)) sample.ports = countDescriptors(pid);
  if (wants(detail, TaskDetail::Events)) {
    sample.events.faults = static_cast<std::uint32_t>(stat.minorFaults + stat.majorFaults);
    sample.events.pageIns = static_cast<std::uint32_t>(stat.majorFaults);
    if (auto result = takeContextSwitches(pid, sample.events); !result.ok()) {
      return {std::move(result), TaskSampleStep::TaskInformation};
    }
  }
  if (wants(detail, TaskDetail::Threads)) {
    return {takeThreads(pid, sample), TaskSampleStep::TaskInformation};
  }
  return {};
}

// Lists the live threads and leaves the times of ended threads in `basic`. The kernel rounds the
// times of processes and threads separately, and threads run while they are read. If their sum
// exceeds the process's user or system time, the excess is subtracted from the other one, so that
// the total equals the process's whenever possible.
KernelResult LinuxSystemStatistics::takeThreads(pid_t pid, TaskSample& sample) {
  if (auto result = listThreads(pid); !result.ok()) return result;
  const auto microseconds = [](const TimeValue& time) {
    return std::int64_t{time.seconds} * 1000000 + time.microseconds;
  };
  const auto timeOf = [](std::int64_t time) {
    return TimeValue{static_cast<std::int32_t>(time / 1000000),
                     static_cast<std::int32_t>(time % 1000000)};
  };
  std::int64_t user = microseconds(sample.basic.userTime);
  std::int64_t system = microseconds(sample.basic.systemTime);
  for (const std::int32_t thread : numbers_) {
    ProcStat stat;
    if (!readStat(ProcPath(pid, thread, "stat").text(), stat).ok()) continue;
    sample.threads.push_back(threadOf(stat, ticksPerSecond_));
    user -= microseconds(sample.threads.back().userTime);
    system -= microseconds(sample.threads.back().systemTime);
  }
  if (sample.threads.empty()) return failure(ESRCH);
  if (user < 0) system += std::exchange(user, 0);
  if (system < 0) user = std::max<std::int64_t>(user + std::exchange(system, 0), 0);
  sample.basic.userTime = timeOf(user);
  sample.basic.systemTime = timeOf(system);
  return {};
}

KernelResult LinuxSystemStatistics::takeContextSwitches(pid_t pid, TaskEvents& events) {
  if (auto result = listThreads(pid); !result.ok()) return result;
  std::uint64_t switches = 0;
  bool found = false;
  for (const std::int32_t thread : numbers_) {
    if (!readText(proc_, ProcPath(pid, thread, "status").text()).ok()) continue;
    found = true;
    switches += namedFigure(text_, "voluntary_ctxt_switches:").value_or(0);
    switches += namedFigure(text_, "nonvoluntary_ctxt_switches:").value_or(0);
  }
  events.contextSwitches = static_cast<std::uint32_t>(switches);
  return found ? KernelResult{} : failure(ESRCH);
}

std::uint32_t LinuxSystemStatistics::countDescriptors(pid_t pid) {
  const Descriptor descriptors(openDirectory(proc_, ProcPath(pid, "fd").text()));
  std::uint32_t count = 0;
  if (descriptors) {
    forEachEntry(descriptors.get(), entries_, [&](const char*) { ++count; });
  }
  return count;
}

KernelResult LinuxSystemStatistics::memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) {
  KernelResult result = readText(proc_, ProcPath(pid, "smaps").text());
  if (result.ok()) parseMappings(text_, regions);
  return result;
}

KernelResult LinuxSystemStatistics::executablePath(pid_t pid, std::span<char> buffer,
                                                   std::size_t& length) {
  const Descriptor file(::openat(proc_, ProcPath(pid, "cmdline").text(), O_RDONLY | O_CLOEXEC));
  if (!file) return failure(errno);
  const ssize_t count = readFully(file.get(), buffer);
  if (count < 0) return failure(errno);
  length = std::string_view(buffer.data(), static_cast<std::size_t>(count)).find('\0');
  length = std::min(length, static_cast<std::size_t>(count));
  return {};
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/sim/SimSystemStatistics.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace zorva {
namespace {

const KernelResult kNoSuchProcess{3, "No such process"};

void add(TimeValue& total, const TimeValue& part) {
  total.seconds += part.seconds;
  total.microseconds += part.microseconds;
  if (total.microseconds > 999999) {
    total.seconds += 1;
    total.microseconds -= 1000000;
  }
}

}  // namespace

SimSystemStatistics::SimSystemStatistics(SimFaults& faults, const Clock& clock) : clock_(clock) {
  constexpr std::pair<Operation, const char*> kNames[] = {
      {Operation::TimeOfDay, "timeOfDay"},
      {Operation::MemorySize, "memorySize"},
      {Operation::MaximumArgumentLength, "maximumArgumentLength"},
      {Operation::CpuLoad, "cpuLoad"},
      {Operation::LoadAverages, "loadAverages"},
      {Operation::VmStatistics, "vmStatistics"},
      {Operation::SwapUsage, "swapUsage"},
      {Operation::InterfaceTraffic, "interfaceTraffic"},
      {Operation::FrameworkMemory, "frameworkMemory"},
      {Operation::OpenDeviceRegistry, "openDeviceRegistry"},
      {Operation::BlockDrivers, "blockDrivers"},
      {Operation::BlockDriverTransfers, "blockDriverTransfers"},
      {Operation::ProcessorSets, "processorSets"},
      {Operation::PrivilegedAccess, "privilegedAccess"},
      {Operation::Tasks, "tasks"},
      {Operation::KernelProcess, "kernelProcess"},
      {Operation::TaskInformation, "taskInformation"},
      {Operation::MemoryRegions, "memoryRegions"},
      {Operation::ExecutablePath, "executablePath"},
  };
  for (const auto& [operation, name] : kNames) {
    faultPoints_.try_emplace(operation, faults, std::string("statistics.") + name, EIO);
  }
}

void SimSystemStatistics::setTask(Task task) {
  const pid_t pid = task.sample.process.pid;
  tasks_.insert_or_assign(pid, std::move(task));
}

void SimSystemStatistics::setTask(pid_t pid, const std::string& command, TimeValue cpuTime) {
  Task task;
  task.sample.process.pid = pid;
  task.sample.process.command = command;
  task.sample.basic.userTime = cpuTime;
  task.sample.threads.emplace_back().runState = kThreadWaiting;
  setTask(std::move(task));
}

int SimSystemStatistics::calls(Operation operation) const {
  const auto found = calls_.find(operation);
  return found == calls_.end() ? 0 : found->second;
}

KernelResult SimSystemStatistics::enter(Operation operation) {
  ++calls_[operation];
  if (const auto point = faultPoints_.find(operation); point != faultPoints_.end()) {
    const auto code = point->second.struckResult<int>();
    if (code) return {*code, std::strerror(*code)};
  }
  const auto failure = failures_.find(operation);
  if (failure == failures_.end()) return {};
  KernelResult result = std::move(failure->second);
  failures_.erase(failure);
  return result;
}

template <typename Figure>
KernelResult SimSystemStatistics::answer(Operation operation, const Figure& figure,
                                         Figure& result) {
  KernelResult entered = enter(operation);
  if (entered.ok()) result = figure;
  return entered;
}

KernelResult SimSystemStatistics::timeOfDay(Date& now) {
  return answer(Operation::TimeOfDay, clock_.now(), now);
}

KernelResult SimSystemStatistics::memorySize(std::uint64_t& bytes) {
  return answer(Operation::MemorySize, system.memorySize, bytes);
}

KernelResult SimSystemStatistics::maximumArgumentLength(std::size_t& bytes) {
  return answer(Operation::MaximumArgumentLength, system.maximumArgumentLength, bytes);
}

KernelResult SimSystemStatistics::cpuLoad(HostCpuLoad& load) {
  return answer(Operation::CpuLoad, system.cpuLoad, load);
}

KernelResult SimSystemStatistics::loadAverages(double (&averages)[3]) {
  KernelResult result = enter(Operation::LoadAverages);
  if (result.ok()) std::ranges::copy(system.loadAverages, averages);
  return result;
}

KernelResult SimSystemStatistics::vmStatistics(HostVmStatistics& statistics) {
  return answer(Operation::VmStatistics, system.vmStatistics, statistics);
}

KernelResult SimSystemStatistics::swapUsage(SwapUsage& usage) {
  return answer(Operation::SwapUsage, system.swapUsage, usage);
}

KernelResult SimSystemStatistics::interfaceTraffic(std::vector<NetworkTotals>& interfaces) {
  return answer(Operation::InterfaceTraffic, system.interfaceTraffic, interfaces);
}

KernelResult SimSystemStatistics::frameworkMemory(std::uint64_t& bytes) {
  return answer(Operation::FrameworkMemory, system.frameworkMemory, bytes);
}

KernelResult SimSystemStatistics::openDeviceRegistry() {
  return enter(Operation::OpenDeviceRegistry);
}

KernelResult SimSystemStatistics::blockDrivers(std::vector<std::string>& names) {
  KernelResult result = enter(Operation::BlockDrivers);
  if (!result.ok()) return result;
  names.clear();
  for (const auto& [name, transfers] : system.blockDrivers) names.push_back(name);
  return result;
}

KernelResult SimSystemStatistics::blockDriverTransfers(const std::string& name,
                                                       DiskTotals& transfers) {
  KernelResult result = enter(Operation::BlockDriverTransfers);
  if (!result.ok()) return result;
  const auto driver = system.blockDrivers.find(name);
  if (driver == system.blockDrivers.end()) return {ENOENT, std::strerror(ENOENT)};
  transfers = driver->second;
  return result;
}

TaskListResult SimSystemStatistics::listTasks(std::vector<std::int32_t>& processes) {
  constexpr std::pair<Operation, TaskListStep> kSteps[] = {
      {Operation::ProcessorSets, TaskListStep::ProcessorSets},
      {Operation::PrivilegedAccess, TaskListStep::PrivilegedAccess},
      {Operation::Tasks, TaskListStep::Tasks}};
  for (const auto& [operation, step] : kSteps) {
    if (KernelResult result = enter(operation); !result.ok()) return {std::move(result), step};
  }
  processes.clear();
  for (const auto& [pid, task] : tasks_) processes.push_back(pid);
  if (const auto ended = std::exchange(ending_, std::nullopt)) tasks_.erase(*ended);
  return {};
}

TaskSampleResult SimSystemStatistics::sampleTask(pid_t pid, TaskDetail detail, TaskSample& sample) {
  lastDetail_ = detail;
  constexpr std::pair<Operation, TaskSampleStep> kSteps[] = {
      {Operation::KernelProcess, TaskSampleStep::KernelProcess},
      {Operation::TaskInformation, TaskSampleStep::TaskInformation}};
  const auto task = tasks_.find(pid);
  for (const auto& [operation, step] : kSteps) {
    KernelResult result = enter(operation);
    if (result.ok() && task == tasks_.end()) result = kNoSuchProcess;
    if (!result.ok()) return {std::move(result), step};
  }
  sample = task->second.sample;
  if (sample.process.command.size() > kCommandLength) sample.process.command.resize(kCommandLength);
  if (!wants(detail, TaskDetail::Identity)) sample.process.user = 0;
  if (!wants(detail, TaskDetail::Threads)) {
    for (const ThreadInfo& thread : sample.threads) {
      if ((thread.flags & kThreadIdleFlag) != 0) continue;
      add(sample.basic.userTime, thread.userTime);
      add(sample.basic.systemTime, thread.systemTime);
    }
    sample.threads.clear();
  }
  if (!wants(detail, TaskDetail::Ports)) sample.ports = 0;
  if (!wants(detail, TaskDetail::Events)) sample.events = {};
  if (!wants(detail, TaskDetail::WorkQueue)) sample.workQueue = {};
  return {};
}

KernelResult SimSystemStatistics::memoryRegions(pid_t pid, std::vector<MemoryRegion>& regions) {
  KernelResult result = enter(Operation::MemoryRegions);
  if (!result.ok()) return result;
  const auto task = tasks_.find(pid);
  if (task == tasks_.end()) return kNoSuchProcess;
  regions = task->second.regions;
  return result;
}

KernelResult SimSystemStatistics::executablePath(pid_t pid, std::span<char> buffer,
                                                 std::size_t& length) {
  KernelResult result = enter(Operation::ExecutablePath);
  if (!result.ok()) return result;
  const auto task = tasks_.find(pid);
  if (task == tasks_.end()) return kNoSuchProcess;
  length = task->second.executablePath.copy(buffer.data(), buffer.size());
  return result;
}

}  // namespace zorva

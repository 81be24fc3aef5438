// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string_view>
#include <utility>

#include "process/libtally_context.h"

namespace zorva::libtally {
namespace {

// The name of a launcher's process whose executable is unknown.
constexpr const char* kUnknownCommand = "unknown";

constexpr const char* kSysctlFailed = "%s(): Error in sysctl(): %s";

void add(TimeValue& total, const TimeValue& part) {
  // Unsigned, so that invalid values from the kernel wrap.
  const auto sum = [](std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
  };
  total.seconds = sum(total.seconds, part.seconds);
  total.microseconds = sum(total.microseconds, part.microseconds);
  if (total.microseconds > 999999) {
    total.seconds = sum(total.seconds, 1);
    total.microseconds -= 1000000;
  }
}

std::uint32_t stateOf(const ThreadInfo& thread) {
  switch (thread.runState) {
    case kThreadRunning:
      return kLibtallyRunning;
    case kThreadStopped:
      return kLibtallyStopped;
    case kThreadWaiting:
      return thread.sleepSeconds > 0 ? kLibtallyIdle : kLibtallySleeping;
    case kThreadUninterruptible:
      return kLibtallyStuck;
    case kThreadHalted:
      return kLibtallyHalted;
    default:
      return kLibtallyUnknown;
  }
}

void updateTimeAndState(const TaskSample& task, bool isNew, LibtallyProcess& psamp) {
  TimeValue total = task.basic.userTime;
  add(total, task.basic.systemTime);
  std::uint32_t state = task.process.zombie ? kLibtallyZombie : kLibtallyUnknown;
  for (const ThreadInfo& thread : task.threads) {
    if ((thread.flags & kThreadIdleFlag) == 0) {
      add(total, thread.userTime);
      add(total, thread.systemTime);
    }
    state = std::min(state, stateOf(thread));
  }
  psamp.state = state;
  psamp.totalTime.previous = isNew ? total : psamp.totalTime.current;
  psamp.totalTime.current = total;
  if (isNew) psamp.totalTime.first = total;
}

void updateCounter(std::uint32_t counter, bool isNew, LibtallyEvents& events) {
  events.previous = events.current;
  events.current = counter;
  if (isNew) {
    libtally_i64_init(events.total, 0, counter);
  } else {
    libtally_i64_update(events.total, counter);
  }
}

void updateEvents(const TaskEvents& events, bool isNew, LibtallyDetails& details) {
  updateCounter(events.faults, isNew, details.faults);
  updateCounter(events.pageIns, isNew, details.pageIns);
  updateCounter(events.copyOnWriteFaults, isNew, details.copyOnWriteFaults);
  updateCounter(events.messagesSent, isNew, details.messagesSent);
  updateCounter(events.messagesReceived, isNew, details.messagesReceived);
  updateCounter(events.machSystemCalls, isNew, details.machSystemCalls);
  updateCounter(events.unixSystemCalls, isNew, details.unixSystemCalls);
  updateCounter(events.contextSwitches, isNew, details.contextSwitches);
}

void updateDetails(const TaskSample& task, bool isNew, bool firstSample, LibtallyDetails& details) {
  details.basic.previous = std::exchange(details.basic.current, task.basic);
  const auto running = std::ranges::count(task.threads, kThreadRunning, &ThreadInfo::runState);
  details.threads.previous =
      std::exchange(details.threads.current, static_cast<std::uint32_t>(task.threads.size()));
  details.runningThreads.previous =
      std::exchange(details.runningThreads.current, static_cast<std::uint32_t>(running));
  details.ports.previous = std::exchange(details.ports.current, task.ports);
  updateEvents(task.events, isNew, details);
  if (!firstSample) details.workQueue.previous = details.workQueue.current;
  details.workQueue.current = task.workQueue;
}

bool needsWalk(const Record& record, bool isNew, bool replaced, bool registerRegions) {
  if (isNew || replaced) return true;
  return record.regionPreference == 2 || (record.regionPreference == 0 && registerRegions);
}

}  // namespace

std::string commandFromArguments(Context& context, const Record* pinfo) {
  LIBTALLY_ASSERT(pinfo->psamp.pid != 0);
  std::size_t length = 0;
  const KernelResult result = context.source.executablePath(
      pinfo->psamp.pid, {context.arguments.get(), context.argumentLength}, length);
  if (!result.ok()) {
    context.message(context.userData, kSysctlFailed, "libtally_p_proc_command",
                    result.text.c_str());
    return kUnknownCommand;
  }
  const std::string_view path(context.arguments.get(), std::min(length, context.argumentLength));
  const std::string_view name = path.substr(path.rfind('/') + 1);
  return name.empty() ? kUnknownCommand : std::string(name);
}

void updateTask(Context& context, pid_t pid, bool registerRegions) {
  TaskSample& task = context.task;
  const TaskSampleResult result = context.source.sampleTask(pid, context.gathering.details, task);
  auto found = context.registry.find(pid);
  if (!result.ok()) {
    if (result.failed == TaskSampleStep::KernelProcess) {
      context.message(context.userData, kSysctlFailed, "kinfo_for_pid", result.text.c_str());
    } else if (found != context.registry.end()) {
      removeRecord(context, found);
    }
    return;
  }

  const bool isNew = found == context.registry.end();
  if (isNew) {
    // Reserve space now, because a sort cannot fail.
    if (context.order.capacity() <= context.registry.size()) {
      context.order.reserve(2 * context.registry.size() + 64);
    }
    auto made = std::make_unique<Record>();
    made->psamp.pid = pid;
    found = context.registry.insert(std::move(made)).first;
  }
  Record& record = **found;
  LibtallyProcess& psamp = record.psamp;
  const std::string_view launcher = context.source.launcherCommand();
  // Another program in the same process has another memory layout.
  bool replaced = psamp.cpuType != task.process.cpuType;
  // A process that a sample missed has released its shared objects.
  if (!isNew && psamp.seq.current != context.tsamp.seq - 1) replaced = true;
  if (!launcher.empty() && task.process.command == launcher) {
    psamp.command = commandFromArguments(context, &record);
  } else if (psamp.command != task.process.command) {
    psamp.command = task.process.command;
    replaced = true;
  }
  psamp.uid = task.process.user;
  psamp.ppid = task.process.parent;
  psamp.pgrp = task.process.group;
  psamp.flags = task.process.flags;
  psamp.cpuType = task.process.cpuType;
  psamp.startSeconds = task.process.startSeconds;
  psamp.startMicroseconds = task.process.startMicroseconds;
  psamp.seq.previous = std::exchange(psamp.seq.current, context.tsamp.seq);
  updateTimeAndState(task, isNew, psamp);
  const LibtallyGathering& gathering = context.gathering;
  if (gathering.details != TaskDetail::None || gathering.memoryRegions) {
    const bool firstDetails = psamp.details == nullptr;
    if (firstDetails) psamp.details = std::make_unique<LibtallyDetails>();
    auto& memory = psamp.details->memory;
    memory.previous = memory.current;
    if (gathering.memoryRegions && needsWalk(record, firstDetails, replaced, registerRegions)) {
      walkMemory(context, record);
    }
    updateDetails(task, firstDetails, context.tsamp.seq == 1, *psamp.details);
  }
  ++context.tsamp.processesInState[psamp.state];
}

}  // namespace zorva::libtally

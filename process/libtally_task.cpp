#include <algorithm>
#include <string_view>
#include <utility>

#include "process/libtally_context.h"

namespace zorva::libtally {
namespace {

// Of a launcher's process whose executable cannot be told.
constexpr const char* kUnknownCommand = "unknown";

constexpr const char* kSysctlFailed = "%s(): Error in sysctl(): %s";

void add(TimeValue& total, const TimeValue& part) {
  // Unsigned, so that nonsense from the kernel wraps.
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

void takeTimesAndThreads(const TaskSample& task, bool isNew, LibtallyProcess& psamp) {
  psamp.totalTime.previous = psamp.totalTime.current;
  psamp.threads.previous = std::exchange(psamp.threads.current, 0);
  psamp.runningThreads.previous = std::exchange(psamp.runningThreads.current, 0);
  TimeValue total = task.basic.userTime;
  add(total, task.basic.systemTime);
  std::uint32_t state = task.process.zombie ? kLibtallyZombie : kLibtallyUnknown;
  for (const ThreadInfo& thread : task.threads) {
    if ((thread.flags & kThreadIdleFlag) == 0) {
      add(total, thread.userTime);
      add(total, thread.systemTime);
    }
    ++psamp.threads.current;
    if (thread.runState == kThreadRunning) ++psamp.runningThreads.current;
    state = std::min(state, stateOf(thread));
  }
  psamp.state = state;
  psamp.totalTime.current = total;
  if (isNew) psamp.totalTime.first = psamp.totalTime.previous = total;
}

void takeCounter(std::uint32_t counter, bool isNew, LibtallyEvents& events) {
  events.previous = events.current;
  events.current = counter;
  if (isNew) {
    libtally_i64_init(events.total, 0, counter);
  } else {
    libtally_i64_update(events.total, counter);
  }
}

void takeEvents(const TaskEvents& events, bool isNew, LibtallyProcess& psamp) {
  takeCounter(events.faults, isNew, psamp.faults);
  takeCounter(events.pageIns, isNew, psamp.pageIns);
  takeCounter(events.copyOnWriteFaults, isNew, psamp.copyOnWriteFaults);
  takeCounter(events.messagesSent, isNew, psamp.messagesSent);
  takeCounter(events.messagesReceived, isNew, psamp.messagesReceived);
  takeCounter(events.machSystemCalls, isNew, psamp.machSystemCalls);
  takeCounter(events.unixSystemCalls, isNew, psamp.unixSystemCalls);
  takeCounter(events.contextSwitches, isNew, psamp.contextSwitches);
}

bool wantsWalk(const Record& record, bool isNew, bool replaced, bool registerRegions) {
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

TaskUpdate updateTask(Context& context, std::int32_t process, bool registerRegions) {
  TaskSample& task = context.task;
  const TaskSampleResult result =
      context.source.sampleTask(process, context.gathering.details, task);
  auto found = context.registry.find(process);
  if (!result.ok()) {
    if (result.code == kKernelNoMemory) return TaskUpdate::OutOfMemory;
    if (result.failed == TaskSampleStep::KernelProcess) {
      context.message(context.userData, kSysctlFailed, "kinfo_for_pid", result.text.c_str());
    } else if (found != context.registry.end()) {
      removeRecord(context, found);
    }
    return TaskUpdate::Skipped;
  }

  const bool isNew = found == context.registry.end();
  if (isNew) {
    auto made = std::make_unique<Record>();
    made->psamp.pid = process;
    found = context.registry.insert(std::move(made)).first;
  }
  Record& record = **found;
  LibtallyProcess& psamp = record.psamp;
  const std::string_view launcher = context.source.launcherCommand();
  // Another program in the same process has another layout of its memory.
  bool replaced = psamp.cpuType != task.process.cpuType;
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
  psamp.basic.previous = std::exchange(psamp.basic.current, task.basic);

  psamp.memory.previous = psamp.memory.current;
  if (context.gathering.memoryRegions && wantsWalk(record, isNew, replaced, registerRegions)) {
    walkMemory(context, record);
  }
  takeTimesAndThreads(task, isNew, psamp);
  psamp.ports.previous = std::exchange(psamp.ports.current, task.ports);
  takeEvents(task.events, isNew, psamp);
  if (context.tsamp.seq > 1) psamp.workQueue.previous = psamp.workQueue.current;
  psamp.workQueue.current = task.workQueue;
  ++context.tsamp.processesInState[psamp.state];
  return TaskUpdate::Done;
}

}  // namespace zorva::libtally

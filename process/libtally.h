// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

#include "platform/base/Date.h"
#include "platform/processes/SystemStatistics.h"
#include "platform/system/AccountDatabase.h"

/// libtally: samples of the whole system and of every process in it.
///
///     libtally_use(statistics, accounts);
///     if (libtally_init(nullptr, nullptr) != 0) return;
///     libtally_sample(false, false);
///     libtally_psort(busiestFirst, nullptr);
///     while (const LibtallyProcess* process = libtally_piterate()) ...
///     libtally_fini();
///
/// There is one context per program, unguarded: one thread, one round from libtally_init to
/// libtally_fini at a time. Integer results are 0 on success. A call that breaks the calling order
/// stops the program with a line on standard error that names libtally and the condition.
namespace zorva {

/// Turns a 32-bit counter that wraps into a 64-bit total that does not.
struct libtally_i64 {
  std::uint64_t total = 0;
  std::uint32_t last = 0;  ///< the counter when it was last read
};

/// The total starts at `total`, or at the counter when `total` is 0.
void libtally_i64_init(libtally_i64& accumulator, std::uint64_t total, std::uint32_t counter);
/// Adds the difference to the counter's last value, taken as a signed 32-bit number, and answers
/// it: a counter that has gone back a little lowers the total.
std::int32_t libtally_i64_update(libtally_i64& accumulator, std::uint32_t counter);
std::uint64_t libtally_i64_value(const libtally_i64& accumulator);

/// A figure of this sample and of the one before.
template <typename Value>
struct LibtallyPair {
  Value current{};
  Value previous{};
};

/// A figure of this sample, of the one before, and of the first one. All are equal in the first
/// sample, unless the field says otherwise.
template <typename Value>
struct LibtallySeries {
  Value current{};
  Value previous{};
  Value first{};
};

/// The highest process state.
inline constexpr std::uint32_t LIBTALLY_STATE_MAX = 7;

/// The process states.
inline constexpr std::uint32_t kLibtallyZombie = 0;
inline constexpr std::uint32_t kLibtallyRunning = 1;
inline constexpr std::uint32_t kLibtallyStuck = 2;
inline constexpr std::uint32_t kLibtallySleeping = 3;
inline constexpr std::uint32_t kLibtallyIdle = 4;
inline constexpr std::uint32_t kLibtallyStopped = 5;
inline constexpr std::uint32_t kLibtallyHalted = 6;
inline constexpr std::uint32_t kLibtallyUnknown = 7;

/// An event counter of a process: as the kernel reports it, wrapping at 32 bits, and its total,
/// which starts at the counter's value when the process is first seen.
struct LibtallyEvents {
  std::uint32_t current = 0;
  std::uint32_t previous = 0;  ///< 0 when the process is first seen
  libtally_i64 total;
};

/// Memory of a process, in bytes. Regions of shared frameworks stand apart.
struct LibtallyMemory {
  std::uint64_t privateResident = 0;
  std::uint64_t privateVirtual = 0;
  std::uint64_t sharedResident = 0;  ///< objects that other processes map too, each counted once
  std::uint64_t sharedVirtual = 0;
  std::uint64_t framework = 0;  ///< virtual size of the regions of shared frameworks
  std::uint32_t regions = 0;    ///< all of them
  bool operator==(const LibtallyMemory&) const = default;
};

/// What a process's record holds beyond its identity and CPU time. Previous figures are 0 when the
/// process is first seen.
struct LibtallyDetails {
  LibtallyPair<TaskBasicInfo> basic;  ///< its times are those of the threads that have ended
  LibtallyPair<std::uint32_t> threads;
  LibtallyPair<std::uint32_t> runningThreads;
  LibtallyPair<std::uint32_t> ports;
  LibtallyEvents faults;
  LibtallyEvents pageIns;
  LibtallyEvents copyOnWriteFaults;
  LibtallyEvents messagesSent;
  LibtallyEvents messagesReceived;
  LibtallyEvents machSystemCalls;
  LibtallyEvents unixSystemCalls;
  LibtallyEvents contextSwitches;
  LibtallyPair<LibtallyMemory> memory;
  LibtallyPair<WorkQueue> workQueue;
};

/// One process, as the last sample that saw it found it.
struct LibtallyProcess {
  std::uint32_t uid = 0;  ///< effective user id
  pid_t pid = 0;
  pid_t ppid = 0;       ///< process id of its parent
  pid_t pgrp = 0;       ///< process group id
  std::string command;  ///< short name, any bytes
  LibtallyPair<std::uint32_t>
      seq;                        ///< numbers of the last sample that saw it and of the one before
  std::int64_t startSeconds = 0;  ///< start, since 1970-01-01 UTC
  std::int32_t startMicroseconds = 0;
  std::uint32_t flags = 0;
  std::uint32_t cpuType = 0;
  std::uint32_t state = kLibtallyUnknown;
  LibtallySeries<TimeValue> totalTime;  ///< user and system time of all threads since the start;
                                        ///< `first` is the value when the process was first seen,
                                        ///< and so is `previous` then
  /// Nothing in a sample that gathers none of it, which spares most of a record's memory.
  std::unique_ptr<LibtallyDetails> details;
};

/// The system as the last sample found it.
struct LibtallySystem {
  std::uint32_t seq = 0;  ///< number of the sample; 0 before the first one
  LibtallySeries<Date> time;
  LibtallySeries<HostCpuLoad> cpu;  ///< the first ticks, and the previous ones of the first sample,
                                    ///< are those of libtally_init
  std::array<double, 3> loadAverages{};  ///< over 1, 5 and 15 minutes
  LibtallySeries<HostVmStatistics> vm;
  SwapUsage swap;
  bool swapKnown = false;
  std::uint64_t memorySize = 0;     ///< physical memory, bytes
  std::uint64_t reservedPages = 0;  ///< pages that the system cannot use
  std::uint64_t pageSize = 0;       ///< bytes
  std::uint32_t processes = 0;      ///< counted by libtally_psort, 0 before
  std::uint32_t threads = 0;
  std::array<std::uint32_t, LIBTALLY_STATE_MAX + 1> processesInState{};
  std::uint64_t virtualSize = 0;      ///< bytes, summed over the processes
  std::uint64_t privateResident = 0;  ///< bytes, summed over the processes
  std::uint64_t sharedResident = 0;   ///< bytes of the shared objects, each counted once with the
                                      ///< most that a process saw since the first mapped it
  std::uint32_t regions = 0;          ///< memory regions, summed over the processes
  std::uint64_t frameworkMemory = 0;  ///< bytes of shared frameworks that this program maps, when
                                      ///< they were last gathered
  LibtallySeries<NetworkTotals> network;
  LibtallySeries<DiskTotals> disk;
};

/// Receives the library's error messages: a printf format and its arguments, with no newline.
typedef int (*LibtallyMessage)(void* userData, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Decides where a record goes: -1 when `placed`, which is being placed, comes before `other`,
/// which has its place already; anything else places it after. Records that compare equal keep the
/// order of their process ids.
using LibtallyComparator = int (*)(void* userData, const LibtallyProcess& placed,
                                   const LibtallyProcess& other);

/// Names the sources of all figures, which must live until the last libtally_fini. Comes before
/// libtally_init and lasts until it is called again.
void libtally_use(SystemStatistics& statistics, AccountDatabase& accounts);

/// What a sample gathers beyond each process's ids, command name, start, flags and CPU time. What
/// is not gathered stays 0, and a process without Threads in state "unknown"; with neither details
/// nor memory regions the records have no LibtallyDetails.
struct LibtallyGathering {
  TaskDetail details = kEveryTaskDetail;
  bool memoryRegions = true;
  bool systemFigures = true;  ///< load, CPU ticks, frameworks, virtual memory, swap, network, disk
};

/// Chooses what the samples of this round gather; libtally_init chooses everything. -1 without a
/// round, and after its first sample: its figures could not be distinguished from those of the
/// previous sample.
int libtally_gather(const LibtallyGathering& gathering);

/// Starts a round. Without a callback messages are dropped. -1 after a message when the system
/// cannot report its memory size, argument length or CPU ticks or has no device registry, and
/// without one when libtally_use was never called or the arguments of processes find no memory.
/// Ends a round that was under way.
int libtally_init(LibtallyMessage message, void* userData);

/// Ends the round: every record is freed. Does nothing without a round.
void libtally_fini();

/// Takes a sample. `registerRegions` also walks the memory of known processes whose region-walk
/// preference is 0; `frameworks` gathers the shared-framework memory when the interval says so.
///
/// A process that ends while the sample is taken is skipped, with a message. The sample fails, with
/// the records updated so far, when the time, the tasks, the load averages or the CPU ticks cannot
/// be read, or when memory is exhausted while a process is updated; figures of the virtual memory,
/// of swap, of the network and of the disks that cannot be read stay as they were. Where the list
/// of network interfaces finds no memory, the program is ended with "malloc failed" and status 1.
int libtally_sample(bool registerRegions, bool frameworks);

/// Orders the records of the current sample, and frees those of processes that have gone. Safe with
/// a comparator that contradicts itself; the order is then some order. Needs a sample.
void libtally_psort(LibtallyComparator comparator, void* userData);

/// The next record: in the order of libtally_psort, or without it by ascending process id, which
/// frees the records of processes that have gone as it passes them. Nothing at the end; the call
/// after it starts again. Records stay good until the next call that may free them. Needs a sample.
const LibtallyProcess* libtally_piterate();

/// The system's record; nothing when the library is not initialised.
const LibtallySystem* libtally_tsamp();

/// Sets how often a known process's memory regions are walked: 0 in samples with the register flag,
/// 1 never, 2 always. A new process is always walked, and one that has since executed another
/// program, or was missed by a sample, is walked again. -1 when there is no record of the process,
/// and for any other preference.
int libtally_preg(pid_t pid, std::uint32_t preference);

/// Lets the framework memory be gathered in every interval-th sample only. 0 means every sample, as
/// 1 does. -1 above 100, and without a round; nothing is changed then.
int libtally_set_interval(std::uint32_t interval);

/// "zombie", "running", "stuck", "sleeping", "idle", "stopped", "halted", "unknown". `state` must
/// not exceed LIBTALLY_STATE_MAX.
const char* libtally_state_str(std::uint32_t state);

/// The account's name, or nothing when there is no such user. Stays good until
/// libtally_fini.
const char* libtally_username(uid_t uid);

}  // namespace zorva

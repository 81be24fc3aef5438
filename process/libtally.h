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

/// libtally samples the whole system and every process in it.
///
///     libtally_use(statistics, accounts);
///     if (libtally_init(nullptr, nullptr) != 0) return;
///     libtally_sample(false, false);
///     libtally_psort(busiestFirst, nullptr);
///     while (const LibtallyProcess* process = libtally_piterate()) ...
///     libtally_fini();
///
/// There is one context per program, without locking: one thread, and one round from libtally_init
/// to libtally_fini at a time. Integer results are 0 on success. A call that violates the calling
/// order stops the program with a line on standard error that names libtally and the condition.
namespace zorva {

/// Extends a wrapping 32-bit counter to a 64-bit total.
struct libtally_i64 {
  std::uint64_t total = 0;
  std::uint32_t last = 0;  ///< the counter when it was last read
};

/// The total starts at `total`, or at the counter if `total` is 0.
void libtally_i64_init(libtally_i64& accumulator, std::uint64_t total, std::uint32_t counter);
/// Adds the difference from the counter's last value, taken as a signed 32-bit number, and returns
/// that difference: if the counter has decreased a little, so does the total.
std::int32_t libtally_i64_update(libtally_i64& accumulator, std::uint32_t counter);
std::uint64_t libtally_i64_value(const libtally_i64& accumulator);

/// A figure of this sample and of the previous one.
template <typename Value>
struct LibtallyPair {
  Value current{};
  Value previous{};
};

/// A figure of this sample, of the previous one, and of the first one. All are equal in the first
/// sample, unless stated otherwise.
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

/// Memory of a process, in bytes. Regions of shared frameworks are listed separately.
struct LibtallyMemory {
  std::uint64_t privateResident = 0;
  std::uint64_t privateVirtual = 0;
  std::uint64_t sharedResident = 0;  ///< objects that other processes also map, each counted once
  std::uint64_t sharedVirtual = 0;
  std::uint64_t framework = 0;  ///< virtual size of the regions of shared frameworks
  std::uint32_t regions = 0;    ///< all of them
  bool operator==(const LibtallyMemory&) const = default;
};

/// The part of a process's record beyond its identity and CPU time. Previous figures are 0 when the
/// process is first seen.
struct LibtallyDetails {
  LibtallyPair<TaskBasicInfo> basic;  ///< its times are those of ended threads
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

/// One process, as of the last sample that included it.
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
  /// Null in a sample that gathers none of it, which saves most of a record's memory.
  std::unique_ptr<LibtallyDetails> details;
};

/// The system, as of the last sample.
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
  std::uint64_t sharedResident = 0;   ///< bytes of the shared objects, each counted once, with the
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

/// Determines where a record is inserted: -1 if `placed`, the record being inserted, precedes
/// `other`, which is in the list already; any other value inserts it after. Records that compare
/// equal keep the order of their process ids.
using LibtallyComparator = int (*)(void* userData, const LibtallyProcess& placed,
                                   const LibtallyProcess& other);

/// Sets the sources of all figures, which must exist until the last libtally_fini. To be called
/// before libtally_init; in effect until the next call.
void libtally_use(SystemStatistics& statistics, AccountDatabase& accounts);

/// What a sample gathers beyond each process's ids, command name, start, flags and CPU time. Other
/// figures stay 0, and without threads a process's state is "unknown"; with neither details nor
/// memory regions the records have no LibtallyDetails.
struct LibtallyGathering {
  TaskDetail details = kEveryTaskDetail;
  bool memoryRegions = true;
  bool systemFigures = true;  ///< load, CPU ticks, frameworks, virtual memory, swap, network, disk
};

/// Selects what the samples of this round gather; libtally_init selects everything. Returns -1
/// without a round, and after its first sample: figures of the new selection could not be
/// distinguished from those of the previous sample.
int libtally_gather(const LibtallyGathering& gathering);

/// Starts a round; ends one that is in progress. Without a callback, messages are dropped. Returns
/// -1 after a message if the system cannot report its memory size, argument length or CPU ticks, or
/// has no device registry. Returns -1 without a message if libtally_use was never called, or if no
/// memory can be allocated for the arguments of processes.
int libtally_init(LibtallyMessage message, void* userData);

/// Ends the round and frees every record. Does nothing without a round.
void libtally_fini();

/// Takes a sample. `registerRegions` also walks the memory of known processes whose region-walk
/// preference is 0; `frameworks` gathers the shared-framework memory if the interval has elapsed.
///
/// A process that ends while the sample is taken is skipped, with a message. The sample fails,
/// keeping the records updated so far, if the time, the tasks, the load averages or the CPU ticks
/// cannot be read, or if memory is exhausted while a process is updated. If figures of virtual
/// memory, swap, network or disks cannot be read, they stay unchanged. If no memory can be
/// allocated for the list of network interfaces, the program ends with "malloc failed" and status
/// 1.
int libtally_sample(bool registerRegions, bool frameworks);

/// Sorts the records of the current sample, and frees those of processes that have ended. Safe with
/// an inconsistent comparator; the order is then unspecified. Requires a sample.
void libtally_psort(LibtallyComparator comparator, void* userData);

/// The next record: in the order of libtally_psort, or without it by ascending process id, which
/// frees the records of ended processes on the way. Null at the end; the next call starts again.
/// Records stay valid until the next call that may free them. Requires a sample.
const LibtallyProcess* libtally_piterate();

/// The system's record; null if the library is not initialised.
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

/// The account's name, or null if there is no such user. Valid until libtally_fini.
const char* libtally_username(uid_t uid);

}  // namespace zorva

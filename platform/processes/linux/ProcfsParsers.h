// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/processes/SystemStatistics.h"

// Parsers of the kernel's text files. They accept any bytes: truncated, garbled or out-of-range
// input is rejected or read as 0, as documented for each, and numbers too large for their type are
// clamped.
namespace zorva {

/// A line of a process's or a thread's "stat" file.
struct ProcStat {
  std::string_view
      command;  ///< between the first "(" and the last ")": any bytes, points into the text
  char state = 0;
  std::int32_t parent = 0;
  std::int32_t group = 0;
  std::uint32_t flags = 0;
  std::uint64_t minorFaults = 0;
  std::uint64_t majorFaults = 0;
  std::uint64_t userTicks = 0;
  std::uint64_t systemTicks = 0;
  std::uint64_t threads = 0;
  std::uint64_t startTicks = 0;  ///< since boot
  std::uint64_t virtualBytes = 0;
  std::uint64_t residentPages = 0;
  std::int32_t policy = 0;  ///< 0 if the line ends before it
};

/// Returns false if the line has no name in parentheses or ends before the resident pages.
bool parseProcStat(std::string_view text, ProcStat& stat);

/// A duration in clock ticks, clamped to the range of its type.
TimeValue timeOfTicks(std::uint64_t ticks, std::uint64_t ticksPerSecond);

/// The host's "stat" file.
struct HostStat {
  HostCpuLoad load;              ///< interrupts count as system time, waiting for disks as idle
  std::int64_t bootSeconds = 0;  ///< when it booted, since 1970-01-01 UTC; at most in the year 9999
};
/// Returns false without a "cpu" line of at least four figures.
bool parseHostStat(std::string_view text, HostStat& stat);

/// Returns false unless there are three numbers, all finite and none negative.
bool parseLoadAverages(std::string_view text, double (&averages)[3]);

/// The number after the name at the start of a line, "MemTotal: 507904 kB" or "pgfault 12". Nothing
/// if no line has it.
std::optional<std::uint64_t> namedFigure(std::string_view text, std::string_view name);

/// The number in a file that contains only one, "0x9fc00" and a newline, or nothing.
std::optional<std::uint64_t> hexadecimalFigure(std::string_view text);

/// Adds the bytes of a range of the firmware's memory map to their kind, as its "type" file names
/// it; those of "System RAM" are not reserved.
void addFirmwareRange(std::string_view type, std::uint64_t bytes, ReservedMemory& memory);

/// The effective user of a process's "status" file, or nothing.
std::optional<std::uint32_t> effectiveUser(std::string_view text);

/// The interfaces of "net/dev"; malformed lines are skipped.
void parseInterfaceTraffic(std::string_view text, std::vector<NetworkTotals>& interfaces);

/// A disk's "stat" file; its sectors have 512 bytes on every disk. Returns false for fewer than
/// seven figures.
bool parseDiskStat(std::string_view text, DiskTotals& totals);

/// The mappings of a process's "smaps", or of its "maps", which has no resident sizes.
///
/// An object is a file from an offset on, or named shared memory: mappings of one file at different
/// offsets contain different pages. It is shared if the mapping is shared or if other processes map
/// its pages. The read-only part of a shared library counts as shared framework, even if its file
/// has been deleted.
void parseMappings(std::string_view text, std::vector<MemoryRegion>& regions);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/processes/SystemStatistics.h"

// Readers of the kernel's text files. They take any bytes: what is cut short, garbled or out of
// range is refused or read as 0, as each says, and numbers too big for their type are held to it.
namespace zorva {

/// A line of a process's or a thread's "stat" file.
struct ProcStat {
  std::string_view
      command;  ///< between the first "(" and the last ")": any bytes, part of the text
  char state = 0;
  std::int32_t parent = 0;
  std::int32_t group = 0;
  std::uint32_t flags = 0;
  std::uint64_t minorFaults = 0;
  std::uint64_t majorFaults = 0;
  std::uint64_t userTicks = 0;
  std::uint64_t systemTicks = 0;
  std::uint64_t threads = 0;
  std::uint64_t startTicks = 0;  ///< since the boot
  std::uint64_t virtualBytes = 0;
  std::uint64_t residentPages = 0;
  std::int32_t policy = 0;  ///< 0 in a line that ends before it
};

/// False when the line has no name in parentheses or ends before the resident pages.
bool parseProcStat(std::string_view text, ProcStat& stat);

/// A span of clock ticks, held to the range of its type.
TimeValue timeOfTicks(std::uint64_t ticks, std::uint64_t ticksPerSecond);

/// The host's "stat" file.
struct HostStat {
  HostCpuLoad load;              ///< interrupts count as system time, waiting for disks as idle
  std::int64_t bootSeconds = 0;  ///< when it booted, since 1970-01-01 UTC; held to 9999
};
/// False without a "cpu" line of at least four figures.
bool parseHostStat(std::string_view text, HostStat& stat);

/// False unless there are three numbers, all finite and none negative.
bool parseLoadAverages(std::string_view text, double (&averages)[3]);

/// The number after the name at the start of a line, "MemTotal:       507904 kB" or "pgfault 12".
/// Nothing when no line has it.
std::optional<std::uint64_t> namedFigure(std::string_view text, std::string_view name);

/// The number of a file that holds just one, "0x9fc00" and a newline, or nothing.
std::optional<std::uint64_t> hexadecimalFigure(std::string_view text);

/// Adds the bytes of a range of the firmware's memory map to their kind, as its "type" file names
/// it; those of "System RAM" are no reserved ones.
void addFirmwareRange(std::string_view type, std::uint64_t bytes, ReservedMemory& memory);

/// The effective user of a process's "status" file, or nothing.
std::optional<std::uint32_t> effectiveUser(std::string_view text);

/// The interfaces of "net/dev"; lines that do not read as one are passed over.
void parseInterfaceTraffic(std::string_view text, std::vector<NetworkTotals>& interfaces);

/// A disk's "stat" file; its sectors have 512 bytes on every disk. False with fewer than seven
/// figures.
bool parseDiskStat(std::string_view text, DiskTotals& totals);

/// The mappings of a process's "smaps", or of its "maps", which has no resident sizes.
///
/// A file from some offset on, or memory that can be shared by name, is an object: mappings of one
/// file at different offsets hold different pages. It is shared when the mapping itself is or when
/// other processes have its pages. A shared library's part that cannot be written counts as shared
/// framework, also when its file was deleted since.
void parseMappings(std::string_view text, std::vector<MemoryRegion>& regions);

}  // namespace zorva

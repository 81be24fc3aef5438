// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/ProcfsParsers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::string_view kBlanks = " \t";

// Removes the first line from the text.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

// Removes the first word from the line; empty at its end. Runs fifty times per process, so it reads
// each byte only once.
std::string_view takeWord(std::string_view& line) {
  std::size_t start = 0;
  while (start < line.size() && (line[start] == ' ' || line[start] == '\t')) ++start;
  std::size_t end = start;
  while (end < line.size() && line[end] != ' ' && line[end] != '\t' && line[end] != '\n') ++end;
  const std::string_view word = line.substr(start, end - start);
  line.remove_prefix(end);
  return word;
}

// The whole word as a number, clamped to the type's range; nothing if it is not one.
template <typename Integer>
std::optional<Integer> number(std::string_view word, int base = 10) {
  Integer value = 0;
  const char* const end = word.data() + word.size();
  const auto [last, error] = std::from_chars(word.data(), end, value, base);
  if (last != end) return std::nullopt;
  if (error == std::errc::result_out_of_range) {
    return word.front() == '-' ? std::numeric_limits<Integer>::min()
                               : std::numeric_limits<Integer>::max();
  }
  if (error != std::errc()) return std::nullopt;
  return value;
}

// Reads words of a line as numbers, one after another. Once a word is missing or not a number, all
// further ones are 0.
class Numbers {
 public:
  explicit Numbers(std::string_view line) : line_(line) {}

  template <typename Integer>
  void read(Integer& value) {
    const auto found = good_ ? number<Integer>(takeWord(line_)) : std::nullopt;
    good_ = found.has_value();
    value = found.value_or(0);
  }
  void skip(int words) {
    for (; words > 0 && good_; --words) good_ = !takeWord(line_).empty();
  }
  bool good() const { return good_; }

 private:
  std::string_view line_;
  bool good_ = true;
};

std::uint32_t low32(std::uint64_t value) {
  return static_cast<std::uint32_t>(value);
}

bool isSharedLibrary(std::string_view path) {
  constexpr std::string_view kDeleted = " (deleted)";
  std::string_view name = path.substr(path.rfind('/') + 1);
  if (name.ends_with(kDeleted)) name.remove_suffix(kDeleted.size());
  return name.ends_with(".so") || name.find(".so.") != std::string_view::npos;
}

// Mixes every bit of the number into the whole result.
std::uint64_t mixed(std::uint64_t number) {
  number = (number ^ (number >> 32)) * 0x9E3779B97F4A7C15;
  number = (number ^ (number >> 29)) * 0xD6E8FEB86659FD93;
  return number ^ (number >> 32);
}

// "7f12a000-7f12b000 r-xp 00001000 08:02 1234   /usr/lib/libc.so.6"
std::optional<MemoryRegion> mappingOf(std::string_view line) {
  const std::string_view range = takeWord(line);
  const std::size_t dash = range.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto start = number<std::uint64_t>(range.substr(0, dash), 16);
  const auto end = number<std::uint64_t>(range.substr(dash + 1), 16);
  const std::string_view permissions = takeWord(line);
  if (!start || !end || *end < *start || permissions.size() < 4) return std::nullopt;
  const auto offset = number<std::uint64_t>(takeWord(line), 16).value_or(0);
  const std::string_view device = takeWord(line);
  const auto inode = number<std::uint64_t>(takeWord(line));
  const std::string_view path = line.substr(std::min(line.find_first_not_of(kBlanks), line.size()));

  MemoryRegion region;
  region.virtualSize = *end - *start;
  region.shared = permissions[3] == 's';
  if (inode && *inode != 0) {
    const std::size_t colon = std::min(device.find(':'), device.size());
    const auto major = number<std::uint64_t>(device.substr(0, colon), 16).value_or(0);
    const auto minor =
        number<std::uint64_t>(device.substr(std::min(colon + 1, device.size())), 16).value_or(0);
    region.object =
        std::max<std::uint64_t>(mixed(mixed(mixed(major << 32 | minor) ^ *inode) ^ offset), 1);
    region.sharedFramework = permissions[1] != 'w' && isSharedLibrary(path);
  }
  return region;
}

}  // namespace

bool parseProcStat(std::string_view text, ProcStat& stat) {
  // The name may contain parentheses, blanks and newlines; the rest is only a letter and numbers.
  const std::size_t open = text.find('(');
  if (open == std::string_view::npos) return false;
  const void* const last = ::memrchr(text.data() + open, ')', text.size() - open);
  if (last == nullptr) return false;
  const auto close = static_cast<std::size_t>(static_cast<const char*>(last) - text.data());
  stat.command = text.substr(open + 1, close - open - 1);
  std::string_view rest = text.substr(close + 1);
  const std::string_view state = takeWord(rest);
  if (state.size() != 1) return false;
  stat.state = state.front();
  Numbers numbers(rest);
  numbers.read(stat.parent);
  numbers.read(stat.group);
  numbers.skip(3);  // session, terminal, its foreground group
  numbers.read(stat.flags);
  numbers.read(stat.minorFaults);
  numbers.skip(1);  // minor faults of children
  numbers.read(stat.majorFaults);
  numbers.skip(1);  // major faults of children
  numbers.read(stat.userTicks);
  numbers.read(stat.systemTicks);
  numbers.skip(4);  // times of children, priority, nice
  numbers.read(stat.threads);
  numbers.skip(1);  // always 0
  numbers.read(stat.startTicks);
  numbers.read(stat.virtualBytes);
  std::int64_t resident = 0;  // the kernel's own type is signed
  numbers.read(resident);
  stat.residentPages = static_cast<std::uint64_t>(std::max<std::int64_t>(resident, 0));
  if (!numbers.good()) return false;
  numbers.skip(16);  // limits, addresses, signals, the processor, the real-time priority
  numbers.read(stat.policy);
  return true;
}

TimeValue timeOfTicks(std::uint64_t ticks, std::uint64_t ticksPerSecond) {
  constexpr std::uint64_t kMaximum = std::numeric_limits<std::int32_t>::max();
  if (ticksPerSecond == 0) return {};
  return {static_cast<std::int32_t>(std::min(ticks / ticksPerSecond, kMaximum)),
          static_cast<std::int32_t>(ticks % ticksPerSecond * 1000000 / ticksPerSecond)};
}

bool parseHostStat(std::string_view text, HostStat& stat) {
  constexpr std::uint64_t kLatestBoot = 253'402'300'799;  // in the year 9999
  std::string_view line = takeLine(text);
  if (takeWord(line) != "cpu") return false;
  std::uint64_t user = 0, nice = 0, system = 0, idle = 0;
  std::uint64_t waiting = 0, interrupts = 0, softInterrupts = 0;
  Numbers numbers(line);
  numbers.read(user);
  numbers.read(nice);
  numbers.read(system);
  numbers.read(idle);
  if (!numbers.good()) return false;
  numbers.read(waiting);
  numbers.read(interrupts);
  numbers.read(softInterrupts);
  stat.load = {low32(user), low32(system + interrupts + softInterrupts), low32(idle + waiting),
               low32(nice)};
  stat.bootSeconds = static_cast<std::int64_t>(
      std::min<std::uint64_t>(namedFigure(text, "btime").value_or(0), kLatestBoot));
  return true;
}

bool parseLoadAverages(std::string_view text, double (&averages)[3]) {
  for (double& average : averages) {
    const auto number = parseReal(takeWord(text));
    if (!number || !(*number >= 0) || std::isinf(*number)) return false;
    average = *number;
  }
  return true;
}

std::optional<std::uint64_t> namedFigure(std::string_view text, std::string_view name) {
  while (!text.empty()) {
    std::string_view line = takeLine(text);
    if (line.starts_with(name) && takeWord(line) == name) {
      return number<std::uint64_t>(takeWord(line));
    }
  }
  return std::nullopt;
}

std::optional<std::uint64_t> hexadecimalFigure(std::string_view text) {
  std::string_view word = takeWord(text);
  if (!word.starts_with("0x")) return std::nullopt;
  return number<std::uint64_t>(word.substr(2), 16);
}

void addFirmwareRange(std::string_view type, std::uint64_t bytes, ReservedMemory& memory) {
  type = takeLine(type);
  if (type == "System RAM") return;
  if (type == "Reserved") {
    memory.reserved += bytes;
  } else if (type == "Unusable memory") {
    memory.unusable += bytes;
  } else {
    memory.other += bytes;
  }
}

std::optional<std::uint32_t> effectiveUser(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = takeLine(text);
    // "Uid:" and the real, effective, saved and file-system user.
    if (takeWord(line) != "Uid:") continue;
    takeWord(line);
    return number<std::uint32_t>(takeWord(line));
  }
  return std::nullopt;
}

void parseInterfaceTraffic(std::string_view text, std::vector<NetworkTotals>& interfaces) {
  interfaces.clear();
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
    const std::size_t colon = line.rfind(':');
    if (colon == std::string_view::npos) continue;
    NetworkTotals totals;
    Numbers numbers(line.substr(colon + 1));
    numbers.read(totals.bytesIn);
    numbers.read(totals.packetsIn);
    numbers.skip(6);  // errors and kinds of received packets
    numbers.read(totals.bytesOut);
    numbers.read(totals.packetsOut);
    if (numbers.good()) interfaces.push_back(totals);
  }
}

bool parseDiskStat(std::string_view text, DiskTotals& totals) {
  constexpr std::uint64_t kSector = 512;
  DiskTotals read;
  std::uint64_t sectorsRead = 0, sectorsWritten = 0;
  Numbers numbers(text);
  numbers.read(read.readOperations);
  numbers.skip(1);  // merged reads
  numbers.read(sectorsRead);
  numbers.skip(1);  // milliseconds
  numbers.read(read.writeOperations);
  numbers.skip(1);  // merged writes
  numbers.read(sectorsWritten);
  if (!numbers.good()) return false;
  read.readBytes = sectorsRead * kSector;
  read.writeBytes = sectorsWritten * kSector;
  totals = read;
  return true;
}

void parseMappings(std::string_view text, std::vector<MemoryRegion>& regions) {
  constexpr std::uint64_t kKilobyte = 1024;
  regions.clear();
  while (!text.empty()) {
    std::string_view line = takeLine(text);
    // A mapping's line starts with a lower-case hexadecimal address, its figures' lines with a
    // capital.
    if (line.empty()) continue;
    if (line.front() < 'A' || line.front() > 'Z') {
      if (const auto region = mappingOf(line)) regions.push_back(*region);
      continue;
    }
    if (regions.empty()) continue;
    MemoryRegion& region = regions.back();
    const std::string_view name = takeWord(line);
    const std::uint64_t value = number<std::uint64_t>(takeWord(line)).value_or(0);
    if (name == "Rss:") region.residentSize = value * kKilobyte;
    if ((name == "Shared_Clean:" || name == "Shared_Dirty:") && value > 0 && region.object != 0) {
      region.shared = true;
    }
  }
}

}  // namespace zorva

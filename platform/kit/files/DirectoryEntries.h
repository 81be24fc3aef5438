// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <span>
#include <string_view>
#include <sys/syscall.h>
#include <type_traits>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {

/// An entry as the kernel writes it. Its name follows the type and ends with a zero byte. C
/// libraries declare it, and the call that reads it, under different names or not at all.
struct KernelDirectoryEntry {
  std::uint64_t inode;
  std::int64_t next;
  std::uint16_t length;  ///< of the whole entry, in bytes
  std::uint8_t type;
};
constexpr std::size_t kEntryNameOffset = offsetof(KernelDirectoryEntry, type) + 1;

/// Calls back with the name of every entry except "." and "..", from the directory's current read
/// position to its end. Returns 0 or an error number. The buffer must be aligned like
/// KernelDirectoryEntry.
///
/// Only an empty result is the end: if a signal is pending, the kernel returns fewer entries than
/// fit, or none with EINTR.
///
/// A callback with a second parameter also gets the entry's type, DT_DIR and the like.
template <typename Visit>
int forEachEntry(int directory, std::span<char> buffer, Visit visit) {
  for (;;) {
    const long length = ::syscall(SYS_getdents64, directory, buffer.data(), buffer.size());
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) return length < 0 ? errno : 0;
    for (long at = 0; at < length;) {
      const auto* const entry = reinterpret_cast<const KernelDirectoryEntry*>(buffer.data() + at);
      const char* const name = buffer.data() + at + kEntryNameOffset;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) {
        if constexpr (std::is_invocable_v<Visit, const char*, unsigned char>) {
          visit(name, entry->type);
        } else {
          visit(name);
        }
      }
      at += entry->length;
    }
  }
}

/// The same for entries whose name is a number, such as processes, threads and descriptors in
/// procfs: with the number and the name.
template <typename Visit>
int forEachNumberedEntry(int directory, std::span<char> buffer, Visit visit) {
  return forEachEntry(directory, buffer, [&](const char* name) {
    const auto number = parseNumber<std::int32_t>(name);
    if (number && *number >= 0) visit(*number, name);
  });
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <span>
#include <string_view>
#include <type_traits>

#include "platform/base/Text.h"

namespace zorva {

/// Calls back with the name of every entry except "." and "..", from the directory's current read
/// position to its end. Returns 0 or an error number. The buffer must be aligned like dirent64.
///
/// Only an empty result is the end: if a signal is pending, the kernel returns fewer entries than
/// fit, or none with EINTR.
///
/// A callback with a second parameter also gets the entry's type, DT_DIR and the like.
template <typename Visit>
int forEachEntry(int directory, std::span<char> buffer, Visit visit) {
  for (;;) {
    const ssize_t length = ::getdents64(directory, buffer.data(), buffer.size());
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) return length < 0 ? errno : 0;
    for (ssize_t at = 0; at < length;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
      const char* const name = entry->d_name;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) {
        if constexpr (std::is_invocable_v<Visit, const char*, unsigned char>) {
          visit(name, entry->d_type);
        } else {
          visit(name);
        }
      }
      at += entry->d_reclen;
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

namespace zorva {

/// Renames a file as renameat() does, but replaces nothing: -1 and EEXIST if the new name is taken.
/// Some file systems cannot do it: EINVAL. (renameat2() is younger than many a C library.)
inline int renameToNew(int fromDirectory, const char* from, int toDirectory, const char* to) {
  constexpr unsigned kNoReplace = 1;
  return static_cast<int>(
      ::syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, kNoReplace));
}

}  // namespace zorva

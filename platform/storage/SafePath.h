// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "platform/system/AccountDatabase.h"

namespace zorva {

/// An entry of a directory that is held open, so that the path to it cannot be exchanged any more.
struct DirectoryEntry {
  Descriptor directory;  ///< opened O_PATH
  std::string name;
};

/// How directories that are missing on a path are made.
struct NewDirectories {
  std::optional<AccountDatabase::Ids> owner;  ///< of the last ones; none: they stay our own
  int owned = 0;                              ///< how many of the last directories are given to it
};

/// Walks the path component by component. Symbolic links that belong to root or to the effective
/// user are followed, also as the last component; one of anybody else ends the walk (ELOOP), or is
/// handed back unfollowed as the last component. Missing directories are made where asked for.
/// Nothing on failure, with the reason in errno.
std::optional<DirectoryEntry> openDirectoryOf(const std::string& path,
                                              const NewDirectories* make = nullptr);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "platform/system/AccountDatabase.h"

namespace zorva {

/// An entry in an open directory, so that the path to it can no longer be replaced.
struct DirectoryEntry {
  Descriptor directory;  ///< opened O_PATH
  std::string name;
};

/// How missing directories on a path are created.
struct NewDirectories {
  std::optional<AccountDatabase::Ids> owner;  ///< owner of the last ones; none: they stay our own
  int owned = 0;                              ///< how many of the last directories get that owner
};

/// Walks the path component by component. Symbolic links that belong to root or to the effective
/// user are followed, even as the last component; any other link ends the walk (ELOOP), or is
/// returned unfollowed if it is the last component. Missing directories are created on request.
/// Returns nothing on failure, with the reason in errno.
std::optional<DirectoryEntry> openDirectoryOf(const std::string& path,
                                              const NewDirectories* make = nullptr);

}  // namespace zorva

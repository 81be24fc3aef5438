// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "platform/base/Descriptor.h"

namespace zorva {

/// Where system notifications live: run directories with one datagram socket per daemon and a
/// directory "states". Empty paths stand for none.
struct NotificationDirectories {
  /// Of the process's effective user: its daemons' sockets, and the states it sets.
  std::string own;
  /// Root's, whose states count for every user; the state that was set last holds.
  std::string shared;
  /// Parent of the users' runtime directories: what root posts reaches the daemons of all users,
  /// whose run directories are "USER/zorva" in here.
  std::string users;

  /// "/run/zorva" for root. For others "zorva" in $XDG_RUNTIME_DIR, or in "/run/user/UID" where
  /// that is not set, or "/tmp/zorva-UID" where neither is a directory of the user.
  static NotificationDirectories ofProcess();
};

/// Names have 1 to 128 printable ASCII characters, no blank and no "/", and do not start with ".".
bool isNotificationName(std::string_view name);

enum class MissingDirectory { Fail, Make };

/// Opens a run directory. It has to belong to the effective user, to be no link and to be writable
/// for no other user. On failure the descriptor is empty and `problem` says why, naming the
/// path.
Descriptor openRunDirectory(const std::string& path, MissingDirectory missing,
                            std::string& problem);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "platform/base/Descriptor.h"

namespace zorva {

/// The paths of system notifications: run directories with one datagram socket per daemon and a
/// directory "states". An empty path means none.
struct NotificationDirectories {
  /// Run directory of the effective user: the sockets of its daemons, and the states that it sets.
  std::string own;
  /// Run directory of root, whose states apply to every user; the state that was set last applies.
  std::string shared;
  /// Parent of the users' runtime directories: root's posts reach the daemons of all users, whose
  /// run directories are "USER/zorva" in it.
  std::string users;

  /// "/run/zorva" for root. For others "zorva" in $XDG_RUNTIME_DIR, or in "/run/user/UID" if that
  /// is not set, or "/tmp/zorva-UID" if neither is a directory of the user.
  static NotificationDirectories ofProcess();
};

/// Names have 1 to 128 printable ASCII characters, no blank and no "/", and do not start with ".".
bool isNotificationName(std::string_view name);

enum class MissingDirectory { Fail, Make };

/// Opens a run directory. It must belong to the effective user, must not be a link and must not be
/// writable for other users. On failure the descriptor is empty and `problem` gives the path and
/// the reason.
Descriptor openRunDirectory(const std::string& path, MissingDirectory missing,
                            std::string& problem);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// The state of a name: the last one set by root or by the effective user; 0 if none was set.
/// Nothing if the name is invalid, or its file cannot be read, belongs to another user or does not
/// contain a number.
std::optional<std::uint64_t> readNotificationState(const NotificationDirectories& directories,
                                                   const std::string& name);

/// Sets the state in our own run directory, in the file "states/NAME", which is replaced as a
/// whole. Returns false on failure, with the reason in `problem`.
bool setNotificationState(const NotificationDirectories& directories, const std::string& name,
                          std::uint64_t state, std::string& problem);

}  // namespace zorva

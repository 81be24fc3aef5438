// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// The state of a name: what was set last, by root or by the effective user; 0 while none was set.
/// Nothing when the name is none, or its file cannot be read, belongs to another user or
/// holds no number.
std::optional<std::uint64_t> readNotificationState(const NotificationDirectories& directories,
                                                   const std::string& name);

/// Sets the state in the own directory, in the file "states/NAME", which is replaced whole. False
/// on failure, with the reason in `problem`.
bool setNotificationState(const NotificationDirectories& directories, const std::string& name,
                          std::uint64_t state, std::string& problem);

}  // namespace zorva

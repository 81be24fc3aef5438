// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// What zorva-notify does with its arguments (without the program's name). Returns the exit status:
/// 0 when posted, 1 when the state could not be set or a daemon not be reached, 2 for bad usage.
int notifyCommand(const std::vector<std::string>& arguments,
                  const NotificationDirectories& directories, std::FILE* output, std::FILE* errors);

}  // namespace zorva

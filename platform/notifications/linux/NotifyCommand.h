// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// Runs zorva-notify with its arguments (without the program's name). Returns the exit status: 0 if
/// posted, 1 if the state could not be set or a daemon not be reached, 2 if the command line is
/// wrong.
int notifyCommand(const std::vector<std::string>& arguments,
                  const NotificationDirectories& directories, std::FILE* output, std::FILE* errors);

}  // namespace zorva

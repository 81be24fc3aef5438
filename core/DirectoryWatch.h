// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Starts watching the log directory: when the current log file has disappeared from its path,
/// logging restarts in a new file. If the directory cannot be opened or no event queue can be
/// created, returns false and reports the failed check on standard error and in the system log.
bool WatchCrashReportDirectory();

/// Stops the watch. Does nothing if it was never set up.
void UnwatchCrashReportDirectory();

/// Handles an event in the directory.
void CrashReportDirectoryCallback();

}  // namespace zorva

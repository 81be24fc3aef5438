// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Watches the log directory from now on: when the current log file has disappeared from its path,
/// logging starts anew in a new file. Returns false, with a message that names the failed check on
/// standard error and on the system log, when the directory cannot be opened or no event queue is
/// to be had.
bool WatchCrashReportDirectory();

/// Ends the watch. Does nothing when it was never set up.
void UnwatchCrashReportDirectory();

/// The watch's answer to an event in the directory.
void CrashReportDirectoryCallback();

}  // namespace zorva

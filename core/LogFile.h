// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// The number on the version line of every log file.
inline constexpr int kLogVersion = 5;

/// Opens the output into sZorvaState.logFile: standard output, or in daemon mode a new log file
/// whose path goes to sZorvaState.logFilePath, given to the user "mobile" and headed by the version
/// line. Returns false, with the reason on the system log, when no file can be opened.
///
/// The directory may be writable for others: a planted link is neither followed nor replaced, only
/// a file that we have just made is given away, and one that is there already is appended to only
/// when it can be ours: a regular file with our files' owner and no other link.
bool OpenLogFile();

}  // namespace zorva

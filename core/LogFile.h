// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// The number on the version line of every log file.
inline constexpr int kLogVersion = 5;

/// Opens the output sZorvaState.logFile: standard output, or in daemon mode a new log file. The
/// file belongs to the user "mobile" and begins with the version line; its path is stored in
/// sZorvaState.logFilePath. If no file can be opened, returns false and reports the reason to the
/// system log.
///
/// Other users may be able to write to the directory. A planted link is therefore neither followed
/// nor replaced, and only a file that we have just created changes its owner. An existing file is
/// appended to only if it can be ours: a regular file with the owner of our files and a single
/// link.
bool OpenLogFile();

}  // namespace zorva

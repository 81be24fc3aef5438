// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Stops any current logging, opens the output (standard output, or in daemon mode a new log file),
/// and for each logger sets its output, enables it and takes its snapshot. If no log file can be
/// opened, the loggers stay detached and disabled.
void StartLogging();

/// Disables and detaches each logger and closes the log file.
void StopLogging();

}  // namespace zorva

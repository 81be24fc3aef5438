// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Stops what is running, opens the output (standard output, or in daemon mode a new log file) and
/// attaches each logger to it, enables it and takes its snapshot. When no log file can be opened,
/// the loggers stay detached and disabled.
void StartLogging();

/// Disables and detaches each logger and closes the log file.
void StopLogging();

}  // namespace zorva

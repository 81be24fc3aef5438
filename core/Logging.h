// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

class ZVLogger;

/// Stops what is running, opens the output (standard output, or in daemon mode a new log file) and
/// attaches each logger to it, enables it and takes its snapshot. When no log file can be opened,
/// the loggers stay detached and disabled.
void StartLogging();

/// Attaches one logger to the open output, enables it and takes its snapshot. Does nothing without
/// an output.
void StartLogger(ZVLogger& logger);

/// Disables and detaches each logger and closes the log file.
void StopLogging();

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "core/LoggerTable.h"
#include "platform/assemble/Platform.h"

namespace zorva {

/// What the calling program provides to ZorvaMain().
struct ZorvaHost {
  /// Creates the services, once the options are known to be valid; they outlive the run. Returns
  /// null if they are not available, which has then been reported.
  std::function<const Platform*()> makePlatform;
  /// Called when the first snapshot has been written and the run loop is about to run. May be
  /// empty.
  std::function<void()> ready = nullptr;
};

/// The program: parses `zorva [-Bdhpq]`, creates the loggers of the table, logs until the exit
/// notification "com.vennor.zorva.exit" arrives (with -q and without -d: only the first snapshot)
/// and releases everything. Without -d, the run also ends when standard output has no reader any
/// more; sZorvaContext.readerIsGone is then set.
///
/// Returns the exit status: 0, unless the services are not available, a daemon's log directory
/// cannot be watched, or the run loop fails.
int ZorvaMain(int argc, char* const argv[], const ZorvaHost& host, const LoggerTable& table);

}  // namespace zorva

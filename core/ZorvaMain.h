// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "core/LoggerTable.h"
#include "platform/assemble/Platform.h"

namespace zorva {

/// What the program around ZorvaMain() does for it.
struct ZorvaHost {
  /// Makes the services, once the options are known to be good; they outlive the run. None: they
  /// cannot be had, which was reported.
  std::function<const Platform*()> makePlatform;
  /// The first snapshot is written, and the run loop is about to run. May be empty.
  std::function<void()> ready = nullptr;
};

/// The program: parses `zorva [-Bdhpq]`, makes the loggers of the table, logs until the exit
/// notification "com.vennor.zorva.exit" arrives (with -q and without -d: just the first snapshot)
/// and takes everything down again. Without -d, a standard output that no process reads any more
/// ends the run, too: sZorvaContext.readerIsGone says so.
///
/// Returns the exit status: 0, but for services that cannot be had, a daemon whose log directory
/// cannot be watched, and a run loop that fails.
int ZorvaMain(int argc, char* const argv[], const ZorvaHost& host, const LoggerTable& table);

}  // namespace zorva

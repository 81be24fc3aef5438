#pragma once

#include "core/LoggerTable.h"
#include "platform/assemble/Platform.h"

namespace zorva {

/// The program: parses `zorva [-Bdhpq]`, makes the loggers of the table, logs until the exit
/// notification "com.vennor.zorva.exit" arrives (with -q and without -d: just the first snapshot)
/// and takes everything down again. Returns the exit status: 0, but for a daemon whose log
/// directory cannot be watched.
int ZorvaMain(int argc, char* const argv[], const Platform& platform, const LoggerTable& table);

}  // namespace zorva

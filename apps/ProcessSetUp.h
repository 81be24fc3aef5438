// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// What a program of ours does before anything else: a reader that goes away and a file that may
/// not grow make writes fail instead of ending the process, and the three standard descriptors are
/// open, on /dev/null where they were closed at the start.
void prepareProcess();

/// Ends the process as any filter ends whose reader went away: by SIGPIPE.
void endByBrokenPipe();

}  // namespace zorva

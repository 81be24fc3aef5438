// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// To be called first by each of our programs: a closed pipe or the limit of a file's size then
/// makes writes fail instead of ending the process, and standard descriptors that were closed are
/// opened on /dev/null.
void prepareProcess();

/// Ends the process by SIGPIPE, like any filter whose reader has closed the pipe.
void endByBrokenPipe();

}  // namespace zorva

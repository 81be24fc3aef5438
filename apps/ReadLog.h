// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "apps/Progress.h"
#include "report/read/LogInput.h"
#include "report/read/LogReader.h"

namespace zorva {

/// Called with each piece of a log and the name of its file. Returns false to stop reading.
using TakeRecord = std::function<bool(const LogRecord& record, const std::string& file)>;

/// Whether what is made of the log depends on its times.
enum class Times { Used, Copied };

/// Reads a log to its end. Returns an error message, or an empty text. A file without a piece of a
/// log is an error, as are times that cannot be read.
std::string readLog(LogReader& reader, LogInput& input, Progress& progress, const TakeRecord& take,
                    Times times = Times::Used);

/// The error message for a reader that could not read further; empty if it is at the end.
std::string readProblem(const LogReader& reader, const LogInput& input, std::uint64_t line);

}  // namespace zorva

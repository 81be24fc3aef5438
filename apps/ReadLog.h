// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "apps/Progress.h"
#include "report/read/LogInput.h"
#include "report/read/LogReader.h"

namespace zorva {

/// Opens logs for reading. Returns an error message, or an empty text.
std::string openLogs(const std::vector<std::string>& logs, std::vector<LogInput>& inputs);

/// Called with each piece of a log and the name of its file. Returns false to stop reading.
using TakeRecord = std::function<bool(const LogRecord& record, const std::string& file)>;

/// Reads a log to its end. `before` is the number of bytes read from other logs by other readers,
/// for the progress. Returns an error message, or an empty text.
std::string readLog(LogReader& reader, LogInput& input, Progress& progress, std::uint64_t before,
                    const TakeRecord& take);

}  // namespace zorva

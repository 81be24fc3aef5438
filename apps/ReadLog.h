#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "apps/Progress.h"
#include "report/read/LogInput.h"
#include "report/read/LogReader.h"

namespace zorva {

/// Opens logs for reading. Returns the problem, if there is one, or an empty text.
std::string openLogs(const std::vector<std::string>& logs, std::vector<LogInput>& inputs);

/// Takes a piece of a log, of the file of this name. False ends the reading.
using TakeRecord = std::function<bool(const LogRecord& record, const std::string& file)>;

/// Reads a log to its end, after so many bytes of others that the reader does not know of. Returns
/// the problem, if there is one, or an empty text.
std::string readLog(LogReader& reader, LogInput& input, Progress& progress, std::uint64_t before,
                    const TakeRecord& take);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "apps/ReadLog.h"

#include <cstring>
#include <utility>

namespace zorva {

std::string openLogs(const std::vector<std::string>& logs, std::vector<LogInput>& inputs) {
  std::string problem;
  for (const std::string& log : logs) {
    auto input = LogInput::open(log, problem);
    if (!input) return problem;
    inputs.push_back(std::move(*input));
  }
  return "";
}

std::string readLog(LogReader& reader, LogInput& input, Progress& progress, std::uint64_t before,
                    const TakeRecord& take) {
  LogRecord record;
  reader.begin([&](char* to, std::size_t most) { return input.read(to, most); });
  while (reader.next(record)) {
    if (!take(record, input.name())) return "";
    progress.at(before + reader.counts().bytes);
  }
  if (reader.error() == 0) return "";
  return input.name() + ": cannot be read further: " + std::strerror(reader.error());
}

}  // namespace zorva

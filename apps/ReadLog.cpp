// SPDX-License-Identifier: Apache-2.0
#include "apps/ReadLog.h"

#include <cstring>

#include "report/read/ForeignFile.h"

namespace zorva {
namespace {

// A log of any size has a piece of a log among so many bytes.
constexpr std::uint64_t kMaxForeign = 64 << 20;

std::string foreignProblem(const LogInput& input) {
  if (input.head().empty()) return input.name() + ": is empty; a log has at least one line";
  return input.name() + ": is not a log of zorva, but " + foreignKind(input.head());
}

}  // namespace

std::string readLog(LogReader& reader, LogInput& input, Progress& progress, const TakeRecord& take,
                    Times times) {
  LogRecord record;
  const std::uint64_t before = reader.counts().bytes;
  bool isLog = false;
  std::uint64_t line = 0;
  reader.begin([&](char* to, std::size_t most) { return input.read(to, most); });
  while (reader.next(record)) {
    isLog = isLog || record.piece == LogPiece::Entry || record.piece == LogPiece::Version;
    if (!isLog) {
      if (reader.counts().bytes - before > kMaxForeign) return foreignProblem(input);
    } else if (times == Times::Used && !reader.unreadableCalendar().empty()) {
      return input.name() + ": its dates are written in a calendar that cannot be read: " +
             reader.unreadableCalendar();
    }
    line = record.line;
    if (!take(record, input.name())) return "";
    progress.at(input.position());
  }
  progress.finished(input.position());
  const std::string problem = readProblem(reader, input, line);
  return problem.empty() && !isLog ? foreignProblem(input) : problem;
}

std::string readProblem(const LogReader& reader, const LogInput& input, std::uint64_t line) {
  if (reader.error() == 0) return "";
  if (input.problem().empty()) {
    return input.name() + ": cannot be read further: " + std::strerror(reader.error());
  }
  return input.name() + ": " + input.problem() + ", after line " + std::to_string(line) +
         " of its text";
}

}  // namespace zorva

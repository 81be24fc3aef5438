// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/format/LogWhen.h"
#include "report/read/LogInput.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// How logs of a directory are chosen.
struct LogChoice {
  std::optional<LogWhen> since;  ///< also those that reach back to this
  bool toFollow = false;         ///< only those that the daemon may still write to
};

/// Replaces each directory among the logs by its newest logs: those that were written to in the
/// last three days before the directory's last entry. Without any log: "-" if standard input is a
/// pipe or a regular file, otherwise the daemon's directory. Returns an error message, or an empty
/// text.
std::string findLogs(std::vector<std::string>& logs, const LogChoice& choice);

/// Sorts logs by the time of their first entries, and leaves out those whose text another one
/// begins with: links, and copies, also compressed ones. Each is reported on standard error. If one
/// cannot be read twice, they stay as they are, except for links.
void arrangeLogs(const char* program, std::vector<std::string>& logs);

/// Opens logs for reading. Returns an error message, or an empty text.
std::string openLogs(const std::vector<std::string>& logs, std::vector<LogInput>& inputs);

/// The time of the last entry of the last log; nothing if it cannot be read twice.
std::optional<LogTime> endOfLogs(const std::vector<std::string>& logs);

/// The requested part of the logs, as the command line has it.
struct RequestedWindow {
  std::optional<LogWhen> since;
  std::optional<LogWhen> until;
  bool lastNight = false;

  bool isRelative() const {
    return lastNight || (since && since->isRelative()) || (until && until->isRelative());
  }
  /// Seen from a time.
  LogWindow seenFrom(LogTime time) const;
  /// Seen from the present, or from the logs' end: if that is before what is requested, or is more
  /// than a day ahead.
  LogWindow of(const std::vector<std::string>& logs) const;
};

}  // namespace zorva

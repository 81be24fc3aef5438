// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/read/LogReader.h"
#include "report/text/TextPage.h"

namespace zorva {

/// A line that could not be read.
struct DamagedLine {
  std::string file;
  std::uint64_t line;
  std::string text;
};

/// What was read.
struct LogReading {
  static constexpr std::size_t kMaxDamagedShown = 5;

  std::vector<std::string> files;
  LogCounts counts;
  std::vector<DamagedLine> damaged;  ///< the first, at most kMaxDamagedShown

  /// Keeps a piece if it is one of the first damaged ones.
  void note(const LogRecord& record, const std::string& file);
};

/// What ended it, without the process that it was for.
std::string endOfSleep(const LogSummary::Sleep& sleep);

/// What was used asleep, awake and on a charger, in sentences; empty without a level.
std::vector<std::string> batterySentences(const LogSummary& summary);

/// The page for the terminal.
std::string summaryText(const LogSummary& summary, const LogReading& reading,
                        const TextStyle& style);

}  // namespace zorva

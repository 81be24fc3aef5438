// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/answer/Answer.h"
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

/// What the words of tables mean; below those that use them.
inline constexpr std::string_view kDeepNote =
    "deep: the share of the sleep in the hardware's deepest state, which uses least.";
inline constexpr std::string_view kRefusedNote =
    "refused: sleeps that were refused, or failed, while it was held.";
inline constexpr std::string_view kUncertainNote =
    "+-: percent of the battery by which a part may be off; uncertain: by more than a tenth of it.";

/// Those that kept the device awake for longest come first, then those that had more sleeps
/// refused.
std::vector<LogSummary::Tally> holdersByTimeAwake(const LogSummary& summary);

/// What ended it, without the process that it was for.
std::string endOfSleep(const LogSummary::Sleep& sleep);

/// What was used asleep, awake and on a charger, in sentences; empty without a level.
std::vector<std::string> batterySentences(const LogSummary& summary, const Answer& answer);

/// "measured", "estimated, +- 0.4 %", "estimated, +- 3.1 %, uncertain".
std::string basisText(const AccountPart& part);

/// The page for the terminal; with `why`, also what each finding is concluded from.
std::string summaryText(const LogSummary& summary, const Answer& answer, const LogReading& reading,
                        const TextStyle& style, bool why = false);

}  // namespace zorva

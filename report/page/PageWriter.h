// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/page/PageLines.h"
#include "report/page/PageSummary.h"
#include "report/page/Timeline.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// What a page says of several logs, above each of them.
struct PageComparison {
  std::string title;
  std::vector<std::string> verdict;  ///< sentences, drawn first
  PageTable differences;
};

/// Writes a log, or several to be compared, as one page, which needs neither other files nor a
/// network. A log's pieces are appended as they are read and the drawn data follow them, so the
/// memory needed does not grow with the log.
class PageWriter {
 public:
  static constexpr std::size_t kMaxRows = 500;
  static constexpr std::size_t kMaxIntervals = 4000;  ///< of the account

  /// Appends the page to a text. Its owner may write it out and empty it between any two calls.
  explicit PageWriter(std::string& to, const LogWindow& window = {});

  /// The next piece of the log, from any of its files. Pieces outside the window are not shown, but
  /// determine the state in which it begins.
  void add(const LogRecord& record);

  /// The log is over: appends the rest of the page.
  void finish(const PageSummary& summary);

  /// The log is over, and the next piece begins another, which is shown below it.
  void finishLog(const PageSummary& summary);
  /// The last of several logs is over.
  void finishComparison(const PageComparison& comparison);

 private:
  // The log that is being read.
  struct Log {
    Log(std::string& to, const LogWindow& window, std::size_t number)
        : filter(window), timeline(window), history(timeline), lines(to, number) {}

    WindowFilter filter;
    Timeline timeline;
    LogHistory history;
    PageLines lines;
    LogPosition position = 0;
    LogTime time = 0;  // of the previous entry, with its position
    AxisTime at = 0;
  };

  void appendEnd(const std::string& title, const std::vector<std::string>& verdict,
                 const PageTable* differences);

  std::string& to_;
  LogWindow window_;
  std::unique_ptr<Log> log_;
  std::size_t logs_ = 0;  // those that are over
};

}  // namespace zorva

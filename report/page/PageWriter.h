// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/analyse/LogHistory.h"
#include "report/page/PageLines.h"
#include "report/page/PageSummary.h"
#include "report/page/Timeline.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// Writes a log as one page, which needs neither other files nor a network. The log's pieces are
/// appended as they are read and the drawn data follow them, so the memory needed does not grow
/// with the log.
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

 private:
  std::string& to_;
  WindowFilter filter_;
  Timeline timeline_;
  LogHistory history_;
  PageLines lines_;
  LogPosition position_ = 0;
  LogTime time_ = 0;  // of the previous entry, with its position
  AxisTime at_ = 0;
};

}  // namespace zorva

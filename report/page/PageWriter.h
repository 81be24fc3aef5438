// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/page/PageLines.h"
#include "report/page/Timeline.h"
#include "report/read/LogWindow.h"

namespace zorva {

/// A table of the page, which sorts by any column.
struct PageTable {
  /// What a column's numbers are, and so how the page writes them.
  enum class Kind {
    Text,
    Process,  ///< a text to which the page's process filter applies
    Count,
    Seconds,
    Bytes,
    Percent,
    Time,  ///< seconds, as in the log
  };
  struct Column {
    std::string name;
    Kind kind;
  };
  using Cell = std::variant<std::monostate, std::string, double>;  ///< the first type: not known

  std::string title;
  std::vector<Column> columns;
  std::vector<std::vector<Cell>> rows;  ///< as the page shows them at first; it has kMaxRows
};

/// The words and figures of a page.
struct PageSummary {
  std::string title;               ///< what the page is about: the logs' names
  std::vector<std::string> facts;  ///< sentences, the most important first
  std::vector<PageTable> tables;
};

/// Writes a log as one page, which needs neither other files nor a network. The log's pieces are
/// appended as they are read and the drawn data follow them, so the memory needed does not grow
/// with the log.
class PageWriter {
 public:
  static constexpr std::size_t kMaxRows = 500;

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

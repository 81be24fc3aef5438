// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/text/SummaryText.h"

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
    WattHours,
    Watts,
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
  /// The calculation in parts/figures.js that fills the same columns, by their names, for a part of
  /// the log. Empty: the table stays as it is.
  std::string inView = {};
};

/// The words and figures of a page.
struct PageSummary {
  /// What was found in the log.
  struct Finding {
    std::string sentence;
    std::vector<std::string> figures;  ///< sentences
    LogTime from = 0;                  ///< to which the page zooms; equal: it does not
    LogTime to = 0;
  };

  /// What used the charge. The parts are disjoint: what they leave of the charge used in an
  /// interval is shown as not attributed.
  struct Account {
    struct Part {
      std::string what;  ///< "Display", "Application"
      std::string name;  ///< which of these; may be empty
      bool measured = false;
      double error = 0;  ///< the share of it by which it may be off
      bool uncertain = false;
    };
    struct Interval {
      LogTime begin = 0;
      LogTime end = 0;
      double used = 0;  ///< percent of a full battery, measured; negative while it is charged
      /// Percent of a full battery, by index in the parts.
      std::vector<std::pair<std::uint32_t, double>> parts;
    };

    std::vector<Part> parts;
    std::vector<Interval> intervals;  ///< in the order of the log, without overlaps
    double wattHoursPerPercent = 0;   ///< 0: not known
  };

  /// What a sleep used. The page adds it to the sleep of that beginning.
  struct SleepEnergy {
    LogTime begin = 0;
    std::optional<double> used = {};  ///< percent of a full battery
    std::optional<double> wattHours = {};
    std::optional<double> deepShare = {};  ///< percent of the sleep in the hardware's deepest state
  };

  std::string title;                 ///< what the page is about: the logs' names
  std::vector<std::string> verdict;  ///< sentences, drawn first; may have findings of the same text
  std::vector<Finding> findings;     ///< the most important first
  Account account;                   ///< nothing is drawn of an empty one
  std::vector<SleepEnergy> sleeps;   ///< in the order of the log
  std::vector<std::string> facts;    ///< sentences, the most important first
  std::vector<PageTable> tables;
};

/// A log's summary as the page shows it.
PageSummary pageSummary(const LogSummary& summary, const Answer& answer, const LogReading& reading);

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report/analyse/LogSummary.h"
#include "report/answer/Answer.h"
#include "report/text/TextPage.h"

namespace zorva {

/// One of the logs that are compared.
struct ComparedLog {
  ComparedLog(std::string called, LogSummary of)
      : name(std::move(called)), summary(std::move(of)), answer(summary) {}

  std::string name;
  LogSummary summary;
  Answer answer;
};

/// Something that every log has a figure of, by the hour so that logs of any length can be
/// compared.
struct ComparedFigure {
  enum class Kind {
    Charge,  ///< percent per hour of the state
    Share,   ///< percent of the time
    Cause,   ///< percent per hour on battery
    Wakes,   ///< per hour
    Held,    ///< seconds per hour: an assertion, the display
    Cpu,     ///< CPU seconds per hour
    Bytes,   ///< per hour
  };
  Kind kind;
  std::string name;
  std::vector<std::optional<double>> values;  ///< one for each log; nothing where it is not known
};

/// A figure with its unit: "0.60 %", "12 min 40 s".
std::string comparedText(ComparedFigure::Kind kind, double value);
/// The smallest difference that is worth reporting, in the figure's unit.
double notableChange(ComparedFigure::Kind kind);

/// All that can be compared: charge, the share of sleep, causes, then wakes, holders, processes and
/// traffic. Within a kind, those that are highest in any log come first.
std::vector<ComparedFigure> compare(const std::vector<ComparedLog>& logs);

/// The page for the terminal.
std::string comparisonText(const std::vector<ComparedLog>& logs, const TextStyle& style);

}  // namespace zorva

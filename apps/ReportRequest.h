// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/CommandLine.h"
#include "apps/LogFiles.h"
#include "report/analyse/LogSummary.h"

namespace zorva {

/// The command line of zorva-report.
struct ReportRequest {
  bool json = false;
  std::string device;  ///< token of the device, for each line of JSON; empty for none
  bool follow = false;
  bool compare = false;
  bool why = false;  ///< with what each finding is concluded from
  RequestedWindow period;
  LogWindow window;                    ///< what the period is for these logs
  std::optional<std::string> output;   ///< the file of the page
  std::optional<std::string> trace;    ///< the file of the trace; "-" is standard output
  std::optional<std::string> metrics;  ///< the file of the metrics; "-" is standard output
  bool force = false;                  ///< replace that file if it exists
  std::vector<std::string> logs;
};

inline constexpr const char* kReportProgram = "zorva-report";

/// Reads the arguments; the end of the program when there is nothing to report.
std::optional<CommandEnd> readReportRequest(const std::vector<std::string>& arguments,
                                            ReportRequest& request);

}  // namespace zorva

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/analyse/LogSummary.h"

namespace zorva {

/// The command line of zorva-report.
struct ReportRequest {
  bool help = false;
  bool json = false;
  bool follow = false;
  bool compare = false;
  LogWindow window;
  bool sinceGiven = false;
  std::optional<std::string> output;  ///< the file of the page
  bool force = false;                 ///< replace that file if it exists
  std::vector<std::string> logs;
};

extern const char* const kReportHelp;

/// Parses the arguments. Returns an error message, or an empty text.
std::string parseReportRequest(const std::vector<std::string>& arguments, ReportRequest& request);

}  // namespace zorva

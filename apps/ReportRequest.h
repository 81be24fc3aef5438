#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/analyse/LogSummary.h"

namespace zorva {

/// What zorva-report is asked for.
struct ReportRequest {
  bool help = false;
  bool json = false;
  bool follow = false;
  bool compare = false;
  LogWindow window;
  bool sinceGiven = false;
  std::optional<std::string> output;  ///< the file of the page
  bool force = false;                 ///< which may be there
  std::vector<std::string> logs;
};

extern const char* const kReportHelp;

/// Reads the arguments; returns what is wrong with them, or an empty text.
std::string parseReportRequest(const std::vector<std::string>& arguments, ReportRequest& request);

}  // namespace zorva

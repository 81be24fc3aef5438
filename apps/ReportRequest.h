#pragma once

#include <string>
#include <vector>

#include "report/LogSummary.h"

namespace zorva {

/// What zorva-report is asked for.
struct ReportRequest {
  bool help = false;
  bool json = false;
  bool follow = false;
  bool compare = false;
  LogWindow window;
  bool sinceGiven = false;
  std::vector<std::string> logs;
};

extern const char* const kReportHelp;

/// Reads the arguments; returns what is wrong with them, or an empty text.
std::string parseReportRequest(const std::vector<std::string>& arguments, ReportRequest& request);

}  // namespace zorva

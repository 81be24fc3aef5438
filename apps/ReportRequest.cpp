// SPDX-License-Identifier: Apache-2.0
#include "apps/ReportRequest.h"

#include <optional>
#include <string_view>

#include "apps/OutputFile.h"

namespace zorva {
namespace {

constexpr const char* kWhen = "a date such as 2026-11-16 or \"2026-11-16 22:05:00\"";

constexpr const char* kHelp =
    "Usage: zorva-report [LOG...] [--since WHEN] [--until WHEN] [--json] [--follow]\n"
    "       zorva-report [LOG...] -o FILE.html [--force] [--since WHEN] [--until WHEN]\n"
    "       zorva-report [LOG...] --trace FILE | --metrics FILE [--force] [--since WHEN] [--until "
    "WHEN]\n"
    "       zorva-report --compare LOG LOG... [-o FILE.html] [--since WHEN] [--until WHEN]\n"
    "Shows from logs what used the battery, and when: sleeps and what ended them, the assertions "
    "that\n"
    "kept the device awake, the busiest processes, and errors. Several logs are read as one, in "
    "the\n"
    "order of their first entries. Without LOG, or if LOG is -, standard input is read.\n"
    "\n"
    "      --since WHEN  leave out entries before: \"2026-11-16 22:05\", or a date alone\n"
    "      --until WHEN  leave out entries after; a date alone includes that whole day\n"
    "  -o, --output FILE write a page for a browser, with everything over a time axis\n"
    "      --trace FILE  write a trace for Perfetto and other viewers of Chrome's trace format\n"
    "      --metrics FILE\n"
    "                    write totals for Prometheus, for example into the directory of a node\n"
    "                    exporter's textfile collector as zorva.prom; FILE may be - (standard "
    "output)\n"
    "      --force       replace FILE if it exists\n"
    "      --json        write every piece of the log as one line of JSON\n"
    "      --follow      print new events as the last log, or the one after it, grows\n"
    "      --compare     show the logs side by side, in the order given, and what changed\n"
    "      --why         show what each finding is concluded from\n"
    "  -h, --help        print this text and exit\n"
    "      --version     print the version and exit\n"
    "\n"
    "Exit status: 0 done; 1 a log could not be read or the output not written; 2 bad usage.\n";

CommandOption timeOption(const char* name, bool isEnd, LogTime& to) {
  return {name, 0, kWhen, [=, &to](const std::string& text) {
            const auto time = logTimeFrom(text, isEnd);
            if (!time) return std::string("--") + name + " needs " + kWhen + ".";
            to = *time;
            return std::string();
          }};
}

// "--NAME FILE", which sets `to` once.
CommandOption exportOption(const char* name, std::optional<std::string>& to) {
  return {name, 0, "the name of a file", outputOption(to).take};
}

std::string contradiction(const ReportRequest& request) {
  if (request.compare && request.logs.size() < 2) return "--compare needs two logs or more.";
  if (request.compare && (request.json || request.follow)) {
    return "--compare cannot be combined with --json or --follow.";
  }
  if (request.output && (request.json || request.follow)) {
    return "-o cannot be combined with --json or --follow.";
  }
  const bool exports = request.trace || request.metrics;
  if ((request.trace && request.metrics) ||
      (exports && (request.output || request.compare || request.json || request.follow))) {
    return "--trace and --metrics cannot be combined with each other, or with -o, --json, --follow "
           "or --compare.";
  }
  if (request.force && !request.output && !exports) {
    return "--force needs -o, --trace or --metrics.";
  }
  if (request.window.since > request.window.until) return "--since is later than --until.";
  std::size_t inputs = 0;
  for (const std::string& log : request.logs) inputs += log == "-" ? 1 : 0;
  if (inputs > 1) return "standard input can be read only once.";
  return "";
}

}  // namespace

std::optional<CommandEnd> readReportRequest(const std::vector<std::string>& arguments,
                                            ReportRequest& request) {
  const CommandLine line{
      kReportProgram,
      kHelp,
      {outputOption(request.output), exportOption("trace", request.trace),
       exportOption("metrics", request.metrics), commandSwitch("force", request.force),
       commandSwitch("json", request.json), commandSwitch("follow", request.follow),
       commandSwitch("compare", request.compare), commandSwitch("why", request.why),
       timeOption("since", false, request.window.since),
       timeOption("until", true, request.window.until)}};
  if (auto end = readCommandLine(line, arguments, request.logs)) return end;
  if (request.logs.empty()) request.logs.emplace_back("-");
  const std::string wrong = contradiction(request);
  if (!wrong.empty()) return badUsage(kReportProgram, wrong);
  return std::nullopt;
}

}  // namespace zorva

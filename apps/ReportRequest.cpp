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
    "       zorva-report --compare LOG LOG... [--since WHEN] [--until WHEN]\n"
    "Tells from logs what used the battery, and when: sleeps and what ended them, who kept the\n"
    "device awake, who computed, and what was wrong. Several logs are read as one, in the order\n"
    "of their first entries. Without LOG, or where it is -, standard input is read.\n"
    "\n"
    "      --since WHEN  leave out what was before: \"2026-11-16 22:05\", or a date alone\n"
    "      --until WHEN  leave out what was behind; a date alone is that whole day\n"
    "  -o, --output FILE write a page for a browser, which shows all of it over time\n"
    "      --force       replace FILE if it is there\n"
    "      --json        write every piece of the log as one line of JSON\n"
    "      --follow      tell what is new as the last log, or the one after it, grows\n"
    "      --compare     show the logs side by side, in the order given, and what differs\n"
    "  -h, --help        print this text and exit\n"
    "      --version     print the version and exit\n"
    "\n"
    "Exit status: 0 done; 1 a log could not be read or the output not be written; 2 bad usage.\n";

CommandOption timeOption(const char* name, bool isEnd, LogTime& to) {
  return {name, 0, kWhen, [=, &to](const std::string& text) {
            const auto time = logTimeFrom(text, isEnd);
            if (!time) return std::string("--") + name + " needs " + kWhen + ".";
            to = *time;
            return std::string();
          }};
}

std::string contradiction(const ReportRequest& request) {
  if (request.compare && request.logs.size() < 2) return "--compare needs two logs or more.";
  if (request.compare && (request.json || request.follow)) {
    return "--compare goes with neither --json nor --follow.";
  }
  if (request.output && (request.compare || request.json || request.follow)) {
    return "-o goes with none of --json, --follow and --compare.";
  }
  if (request.force && !request.output) return "--force is for the file of -o.";
  if (request.window.since > request.window.until) return "--since is behind --until.";
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
      {outputOption(request.output), commandSwitch("force", request.force),
       commandSwitch("json", request.json), commandSwitch("follow", request.follow),
       commandSwitch("compare", request.compare), timeOption("since", false, request.window.since),
       timeOption("until", true, request.window.until)}};
  if (auto end = readCommandLine(line, arguments, request.logs)) return end;
  if (request.logs.empty()) request.logs.emplace_back("-");
  const std::string wrong = contradiction(request);
  if (!wrong.empty()) return badUsage(kReportProgram, wrong);
  return std::nullopt;
}

}  // namespace zorva

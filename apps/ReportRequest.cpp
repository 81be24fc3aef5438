#include "apps/ReportRequest.h"

#include <optional>
#include <string_view>

#include "apps/OptionValue.h"

namespace zorva {
namespace {

std::string setTime(std::string_view name, const OptionValue& value, bool isEnd, LogTime& to) {
  const auto time = value.text ? logTimeFrom(*value.text, isEnd) : std::nullopt;
  if (!time) {
    return std::string(name) + " needs a date such as 2026-11-16 or \"2026-11-16 22:05:00\".";
  }
  to = *time;
  return "";
}

std::string contradiction(const ReportRequest& request) {
  if (request.compare && request.logs.size() < 2) return "--compare needs two logs or more.";
  if (request.compare && (request.json || request.follow)) {
    return "--compare cannot be combined with --json or --follow.";
  }
  if (request.output && (request.compare || request.json || request.follow)) {
    return "-o cannot be combined with --json, --follow or --compare.";
  }
  if (request.force && !request.output) return "--force needs -o.";
  if (request.window.since > request.window.until) return "--since is later than --until.";
  std::size_t inputs = 0;
  for (const std::string& log : request.logs) inputs += log == "-" ? 1 : 0;
  if (inputs > 1) return "standard input can be read only once.";
  return "";
}

}  // namespace

const char* const kReportHelp =
    "Usage: zorva-report [LOG...] [--since WHEN] [--until WHEN] [--json] [--follow]\n"
    "       zorva-report [LOG...] -o FILE.html [--force] [--since WHEN] [--until WHEN]\n"
    "       zorva-report --compare LOG LOG... [--since WHEN] [--until WHEN]\n"
    "Shows from logs what used the battery, and when: sleeps and what ended them, the assertions "
    "that\n"
    "kept the device awake, the busiest processes, and errors. Several logs are read as one, in "
    "the\n"
    "order of their first entries. Without LOG, or if LOG is -, standard input is read.\n"
    "\n"
    "      --since WHEN  leave out entries before: \"2026-11-16 22:05\", or a date alone\n"
    "      --until WHEN  leave out entries after; a date alone includes that whole day\n"
    "  -o, --output FILE write a page for a browser, with everything over a time axis\n"
    "      --force       replace FILE if it exists\n"
    "      --json        write every piece of the log as one line of JSON\n"
    "      --follow      print new events as the last log, or the one after it, grows\n"
    "      --compare     show the logs side by side, in the order given, and what changed\n"
    "  -h, --help        print this text and exit\n"
    "\n"
    "Exit status: 0 done; 1 a log could not be read or the output not written; 2 bad usage.\n";

std::string parseReportRequest(const std::vector<std::string>& arguments, ReportRequest& request) {
  bool options = true;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!options || argument == "-" || !argument.starts_with('-')) {
      request.logs.push_back(argument);
    } else if (argument == "--") {
      options = false;
    } else if (argument == "--help" || argument == "-h") {
      request.help = true;
    } else if (argument == "--json") {
      request.json = true;
    } else if (argument == "--follow") {
      request.follow = true;
    } else if (argument == "--compare") {
      request.compare = true;
    } else if (argument == "--force") {
      request.force = true;
    } else if (const auto output = takeOutput(arguments, i, request.output)) {
      if (!output->empty()) return *output;
    } else if (const OptionValue since = optionValue("--since", arguments, i); since.isOption) {
      request.sinceGiven = true;
      if (auto wrong = setTime("--since", since, false, request.window.since); !wrong.empty()) {
        return wrong;
      }
    } else if (const OptionValue until = optionValue("--until", arguments, i); until.isOption) {
      if (auto wrong = setTime("--until", until, true, request.window.until); !wrong.empty()) {
        return wrong;
      }
    } else {
      return "unknown option " + argument + ".";
    }
  }
  if (request.logs.empty()) request.logs.emplace_back("-");
  return contradiction(request);
}

}  // namespace zorva

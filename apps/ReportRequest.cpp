// SPDX-License-Identifier: Apache-2.0
#include "apps/ReportRequest.h"

#include <optional>
#include <string_view>

#include "apps/OutputFile.h"

namespace zorva {
namespace {

constexpr const char* kWhen =
    "a time such as 23:00, yesterday, -8h, 2026-11-16 or \"2026-11-16 22:05:00\"";

constexpr const char* kHelp =
    "Usage: zorva-report [LOG...] [--since WHEN] [--until WHEN] [--json [--device TOKEN]]\n"
    "                    [--follow]\n"
    "       zorva-report [LOG...] -o FILE.html [--force] [--since WHEN] [--until WHEN]\n"
    "       zorva-report [LOG...] --trace FILE | --metrics FILE [--force] [--since WHEN] [--until "
    "WHEN]\n"
    "       zorva-report --compare LOG LOG... [-o FILE.html] [--since WHEN] [--until WHEN]\n"
    "Shows from logs what used the battery, and when: sleeps and what ended them, the assertions "
    "that\n"
    "kept the device awake, the busiest processes, and errors. Several logs are read as one, in "
    "the\n"
    "order of their first entries; what two logs both hold from their first line on counts once.\n"
    "LOG may be compressed with gzip, xz or zstd. If it is a directory, its newest logs are read:\n"
    "those written to in the three days before the last entry, and since --since. Without LOG,\n"
    "these are the newest logs of /Library/Logs/Faultbox, unless standard input is a pipe or a\n"
    "file; that is read then, and if LOG is -.\n"
    "\n"
    "      --since WHEN  leave out entries before WHEN: -8h, 23:00, yesterday, \"today 07:30\",\n"
    "                    2026-11-16, \"2026-11-16 22:05\"\n"
    "      --until WHEN  leave out entries after WHEN; a day alone includes all of it\n"
    "      --last-night  from 18:00 to 10:00, up to this morning\n"
    "  -o, --output FILE write a page for a browser, with everything over a time axis\n"
    "      --trace FILE  write a trace for Perfetto and other viewers of Chrome's trace format\n"
    "      --metrics FILE\n"
    "                    write totals for Prometheus, for example into the directory of a node\n"
    "                    exporter's textfile collector as zorva.prom; FILE may be - (standard "
    "output)\n"
    "      --force       replace FILE if it exists\n"
    "      --json        write every piece of the log as one line of JSON\n"
    "      --device TOKEN\n"
    "                    put TOKEN, which stands for the device, into each line of JSON\n"
    "      --follow      print new events as the last log, or the one after it, grows\n"
    "      --compare     show the logs side by side, in the order given, and what changed\n"
    "      --why         show what each finding is concluded from\n"
    "  -h, --help        print this text and exit\n"
    "      --version     print the version and exit\n"
    "\n"
    "Times such as -8h count from now; from the last log's end if it ends before that.\n"
    "\n"
    "Exit status: 0 done; 1 a log could not be read or the output not written; 2 bad usage;\n"
    "3 nothing to report: no entry in that period.\n";

CommandOption timeOption(const char* name, bool isEnd, std::optional<LogWhen>& to) {
  return {name, 0, kWhen, [=, &to](const std::string& text) {
            to = LogWhen::parse(text, isEnd);
            return to ? std::string() : std::string("--") + name + " needs " + kWhen + ".";
          }};
}

// "--NAME FILE", which sets `to` once.
CommandOption exportOption(const char* name, std::optional<std::string>& to) {
  return {name, 0, "the name of a file", outputOption(to).take};
}

CommandOption deviceOption(std::string& to) {
  return {"device", 0, "a token that stands for the device", [&to](const std::string& text) {
            to = text;
            return std::string();
          }};
}

std::string contradiction(const ReportRequest& request) {
  if (request.compare && request.logs.size() < 2) return "--compare needs two logs or more.";
  if (request.compare && (request.json || request.follow)) {
    return "--compare cannot be combined with --json or --follow.";
  }
  if (request.output && (request.json || request.follow)) {
    return "-o cannot be combined with --json or --follow.";
  }
  if (!request.device.empty() && !request.json) return "--device needs --json.";
  const bool exports = request.trace || request.metrics;
  if ((request.trace && request.metrics) ||
      (exports && (request.output || request.compare || request.json || request.follow))) {
    return "--trace and --metrics cannot be combined with each other, or with -o, --json, --follow "
           "or --compare.";
  }
  if (request.force && !request.output && !exports) {
    return "--force needs -o, --trace or --metrics.";
  }
  if (request.period.lastNight && (request.period.since || request.period.until)) {
    return "--last-night cannot be combined with --since or --until.";
  }
  if (!request.period.isRelative()) {
    const LogWindow window = request.period.seenFrom(0);
    if (window.since > window.until) return "--since is later than --until.";
  }
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
       commandSwitch("json", request.json), deviceOption(request.device),
       commandSwitch("follow", request.follow), commandSwitch("compare", request.compare),
       commandSwitch("why", request.why), timeOption("since", false, request.period.since),
       timeOption("until", true, request.period.until),
       commandSwitch("last-night", request.period.lastNight)}};
  if (auto end = readCommandLine(line, arguments, request.logs)) return end;
  const std::string wrong = contradiction(request);
  if (!wrong.empty()) return badUsage(kReportProgram, wrong);
  return std::nullopt;
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/CommandLine.h"
#include "apps/LogFiles.h"
#include "apps/OutputFile.h"
#include "apps/ProcessSetUp.h"
#include "apps/ReadLog.h"
#include "report/read/LogReader.h"
#include "report/redact/Redaction.h"

namespace zorva {
namespace {

constexpr const char* kProgram = "zorva-redact";

constexpr const char* kHelp =
    "Usage: zorva-redact [LOG...] [--keep-programs] [-o FILE [--force]]\n"
    "Rewrites logs so that they can be shared: names, addresses and contents become tokens\n"
    "such as ap-1 or process-3, and equal values become equal tokens. Lines, fields and\n"
    "figures are kept. Several logs are rewritten one after the other, with the same tokens.\n"
    "LOG may be compressed with gzip, xz or zstd, or be a directory: then its newest logs are\n"
    "rewritten, as zorva-report reads them. Without LOG, these are the newest logs of\n"
    "/Library/Logs/Faultbox, unless standard input is a pipe or a file; that is read then, and\n"
    "if LOG is -.\n"
    "\n"
    "  -o, --output FILE  write to FILE instead of standard output; it appears when complete\n"
    "      --force        replace FILE if it exists\n"
    "      --keep-programs\n"
    "                     keep the names of processes, applications and units, so that the log\n"
    "                     still shows what used the battery; all other names still become\n"
    "                     tokens: what an assertion is for, folders, the instances of units\n"
    "                     (\"wg-quick@instance-1.service\"), mounts and devices, accounts, "
    "networks\n"
    "  -h, --help         print this text and exit\n"
    "      --version      print the version and exit\n"
    "\n"
    "Damaged lines are replaced as a whole and reported on standard error. Times and figures\n"
    "are kept: zorva-redact(1) describes what they still reveal.\n"
    "\n"
    "Exit status: 0 written; 1 a log could not be read or the output not written; 2 bad usage.\n";

constexpr int kFailed = 1;
constexpr std::size_t kMaxDamagedShown = 10;

struct Request {
  bool force = false;
  bool keepPrograms = false;
  std::vector<std::string> logs;
  std::optional<std::string> output;
};

// Reads the arguments; the end of the program when there is nothing to rewrite.
std::optional<CommandEnd> parse(const std::vector<std::string>& arguments, Request& request) {
  if (auto end =
          readCommandLine({kProgram,
                           kHelp,
                           {outputOption(request.output), commandSwitch("force", request.force),
                            commandSwitch("keep-programs", request.keepPrograms)}},
                          arguments, request.logs)) {
    return end;
  }
  if (request.force && !request.output) return badUsage(kProgram, "--force needs -o.");
  return std::nullopt;
}

void reportDamaged(const LogCounts& counts, const std::vector<std::string>& places) {
  if (counts.damaged == 0) return;
  std::string text = std::to_string(counts.damaged) + " damaged or foreign of " +
                     std::to_string(counts.lines) + " lines replaced:";
  for (const std::string& place : places) text += " " + place;
  if (counts.damaged > places.size()) text += " ...";
  complain(kProgram, text, 0);
}

int redact(const Request& request, std::vector<LogInput>& inputs, OutputFile& output) {
  LogReader reader;
  Redaction redaction(request.keepPrograms ? Redaction::Keep::Programs : Redaction::Keep::Nothing);
  std::vector<std::string> damaged;
  {
    Progress progress(kProgram, inputs);
    for (LogInput& input : inputs) {
      bool written = true;
      const std::string problem = readLog(
          reader, input, progress,
          [&](const LogRecord& record, const std::string& file) {
            redaction.append(record, output.pending());
            if (record.piece == LogPiece::Damaged && damaged.size() < kMaxDamagedShown) {
              damaged.push_back(file + ":" + std::to_string(record.line));
            }
            return written = output.flushIfMuch();
          },
          Times::Copied);
      if (!written) return complain(kProgram, output.problem(), kFailed);
      if (!problem.empty()) return complain(kProgram, problem, kFailed);
    }
  }
  redaction.finish(output.pending());
  if (!output.finish()) return complain(kProgram, output.problem(), kFailed);
  reportDamaged(reader.counts(), damaged);
  return 0;
}

int run(const std::vector<std::string>& arguments) {
  Request request;
  if (const auto end = parse(arguments, request)) return end->write();
  std::vector<LogInput> inputs;
  const std::vector<std::string> named = request.logs;
  std::string problem = findLogs(request.logs, {});
  if (request.logs != named) arrangeLogs(kProgram, request.logs);
  if (problem.empty()) problem = openLogs(request.logs, inputs);
  if (!problem.empty()) return complain(kProgram, problem, kFailed);
  for (const LogInput& input : inputs) {
    if (request.output && input.isFileAt(*request.output)) {
      return complain(
          kProgram,
          input.name() + ": would be replaced by its own copy; choose another name for -o",
          kFailed);
    }
  }
  auto output = request.output ? OutputFile::make(*request.output, request.force, problem)
                               : OutputFile::standardOutput();
  if (!output) return complain(kProgram, problem, kFailed);
  return redact(request, inputs, *output);
}

}  // namespace
}  // namespace zorva

int main(int count, char** arguments) {
  zorva::prepareProcess();
  return zorva::run({arguments + (count > 0 ? 1 : 0), arguments + count});
}

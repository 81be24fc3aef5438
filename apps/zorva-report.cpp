// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "apps/LogFiles.h"
#include "apps/LogFollower.h"
#include "apps/OutputFile.h"
#include "apps/ProcessSetUp.h"
#include "apps/Progress.h"
#include "apps/ReadLog.h"
#include "apps/ReportRequest.h"
#include "platform/base/Text.h"
#include "report/export/AnswerJson.h"
#include "report/export/LogJson.h"
#include "report/export/Metrics.h"
#include "report/export/Trace.h"
#include "report/page/PageDifferences.h"
#include "report/page/PageSummary.h"
#include "report/page/PageWriter.h"
#include "report/read/LogInput.h"
#include "report/read/LogReader.h"
#include "report/text/Comparison.h"
#include "report/text/LogNews.h"
#include "report/text/SummaryText.h"

namespace zorva {
namespace {

constexpr int kFailed = 1;
constexpr int kNothing = 3;
constexpr std::size_t kNarrowest = 60;
constexpr std::size_t kWidest = 100;

TextStyle styleOfOutput() {
  TextStyle style{kWidest, false, ::isatty(STDOUT_FILENO) == 0};
  if (style.whole) return style;
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    style.width = std::clamp<std::size_t>(size.ws_col, kNarrowest, kWidest);
  }
  const char* const terminal = std::getenv("TERM");
  const char* const plain = std::getenv("NO_COLOR");
  style.colour = (plain == nullptr || *plain == '\0') && terminal != nullptr &&
                 std::strcmp(terminal, "dumb") != 0;
  return style;
}

// The exit status after an empty report.
int nothingToReport(const LogWindow& window) {
  const bool all = window.since == LogWindow::kAlways && window.until == LogWindow().until;
  std::string period;
  if (window.since != LogWindow::kAlways) period += " from " + dayAndTime(window.since);
  if (window.until != LogWindow().until) period += " until " + dayAndTime(window.until);
  return complain(kReportProgram, "nothing to report: there is no entry" + (all ? "" : period),
                  kNothing);
}

// From when to when logs reach.
class Reach {
 public:
  void add(const LogRecord& record) {
    if (!record.isTimed()) return;
    first_ = std::min(first_, record.time);
    last_ = std::max(last_, record.time);
  }
  bool touches(const LogWindow& window) const {
    return first_ <= window.until && window.since <= last_ && first_ <= last_;
  }

 private:
  LogTime first_ = std::numeric_limits<LogTime>::max();
  LogTime last_ = std::numeric_limits<LogTime>::min();
};

bool areEmpty(const std::vector<ComparedLog>& compared) {
  return std::ranges::all_of(compared, [](const auto& log) { return log.summary.isEmpty(); });
}

int finish(OutputFile& output) {
  return output.finish() ? 0 : complain(kReportProgram, output.problem(), kFailed);
}

int printSummary(const ReportRequest& request, std::vector<LogInput>& inputs) {
  LogReader reader;
  LogSummarizer summarizer(request.window);
  LogReading reading;
  for (const LogInput& input : inputs) reading.files.push_back(input.name());
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      const std::string problem =
          readLog(reader, input, progress, [&](const LogRecord& record, const std::string& file) {
            summarizer.add(record);
            reading.note(record, file);
            return true;
          });
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    }
  }
  reading.counts = reader.counts();
  OutputFile output = OutputFile::standardOutput();
  const LogSummary summary = summarizer.finish();
  if (summary.isEmpty()) return nothingToReport(request.window);
  output.pending() = summaryText(summary, Answer(summary), reading, styleOfOutput(), request.why);
  return finish(output);
}

// The file at this path; "-" is standard output, but not for a page. If it cannot be written:
// nothing, and `problem` says why.
std::optional<OutputFile> openOutput(const std::string& path, const ReportRequest& request,
                                     const std::vector<LogInput>& inputs, std::string& problem) {
  if (path == "-" && !request.output) return OutputFile::standardOutput();
  for (const LogInput& input : inputs) {
    if (!input.isFileAt(path)) continue;
    problem = input.name() + ": would be replaced by the output; choose another name for that";
    return std::nullopt;
  }
  return OutputFile::make(path, request.force, problem);
}

int writeComparisonPage(const ReportRequest& request, std::vector<LogInput>& inputs,
                        PageWriter& page, OutputFile& output) {
  std::vector<ComparedLog> compared;
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      LogReader reader;
      LogSummarizer summarizer(request.window);
      bool written = true;
      const std::string problem =
          readLog(reader, input, progress, [&](const LogRecord& record, const auto&) {
            summarizer.add(record);
            page.add(record);
            return written = output.flushIfMuch();
          });
      if (!written) return complain(kReportProgram, output.problem(), kFailed);
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
      const ComparedLog& log = compared.emplace_back(input.name(), summarizer.finish());
      page.finishLog(pageSummary(log.summary, log.answer, {{input.name()}, reader.counts(), {}}));
    }
  }
  if (areEmpty(compared)) return nothingToReport(request.window);
  page.finishComparison(pageComparison(compared));
  return finish(output);
}

int writePage(const ReportRequest& request, std::vector<LogInput>& inputs) {
#ifdef ZORVA_NO_PAGE
  std::fputs("zorva-report: Cannot write a page: this program was built without dygraphs.\n",
             stderr);
  return 1;
#endif
  std::string problem;
  auto output = openOutput(*request.output, request, inputs, problem);
  if (!output) return complain(kReportProgram, problem, kFailed);
  PageWriter page(output->pending(), request.window);
  if (request.compare) return writeComparisonPage(request, inputs, page, *output);
  LogReader reader;
  LogSummarizer summarizer(request.window);
  LogReading reading{request.logs, {}, {}};
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      bool written = true;
      problem = readLog(reader, input, progress, [&](const LogRecord& record, const auto&) {
        summarizer.add(record);
        page.add(record);
        return written = output->flushIfMuch();
      });
      if (!written) return complain(kReportProgram, output->problem(), kFailed);
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    }
  }
  reading.counts = reader.counts();
  const LogSummary summary = summarizer.finish();
  if (summary.isEmpty()) return nothingToReport(request.window);
  page.finish(pageSummary(summary, Answer(summary), reading));
  return finish(*output);
}

int writeTrace(const ReportRequest& request, std::vector<LogInput>& inputs) {
  std::string problem;
  auto output = openOutput(*request.trace, request, inputs, problem);
  if (!output) return complain(kReportProgram, problem, kFailed);
  LogReader reader;
  Trace trace(output->pending(), request.window);
  Reach reached;
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      bool written = true;
      problem = readLog(reader, input, progress, [&](const LogRecord& record, const auto&) {
        trace.add(record);
        reached.add(record);
        return written = output->flushIfMuch();
      });
      if (!written) return complain(kReportProgram, output->problem(), kFailed);
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    }
  }
  if (!reached.touches(request.window)) return nothingToReport(request.window);
  trace.finish();
  return finish(*output);
}

int writeMetrics(const ReportRequest& request, std::vector<LogInput>& inputs) {
  std::string problem;
  auto output = openOutput(*request.metrics, request, inputs, problem);
  if (!output) return complain(kReportProgram, problem, kFailed);
  LogReader reader;
  LogSummarizer summarizer(request.window);
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      problem = readLog(reader, input, progress, [&](const LogRecord& record, const auto&) {
        summarizer.add(record);
        return true;
      });
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    }
  }
  const LogSummary summary = summarizer.finish();
  if (summary.isEmpty()) return nothingToReport(request.window);
  output->pending() = metricsText(summary, Answer(summary));
  return finish(*output);
}

int printComparison(const ReportRequest& request, std::vector<LogInput>& inputs) {
  std::vector<ComparedLog> compared;
  {
    Progress progress(kReportProgram, inputs);
    for (LogInput& input : inputs) {
      LogReader reader;
      LogSummarizer summarizer(request.window);
      const std::string problem =
          readLog(reader, input, progress, [&](const LogRecord& record, const auto&) {
            summarizer.add(record);
            return true;
          });
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
      compared.emplace_back(input.name(), summarizer.finish());
    }
  }
  if (areEmpty(compared)) return nothingToReport(request.window);
  OutputFile output = OutputFile::standardOutput();
  output.pending() = comparisonText(compared, styleOfOutput());
  return finish(output);
}

void appendReport(const LogSummary& summary, const LogJson& json, std::string& to) {
  std::string report;
  appendReportJson(summary, Answer(summary), report);
  to.append(json.lineBegin()).append(",").append(report, 1);  // without its "{"
}

// The report as one line, from a first reading of the logs.
std::string reportLine(const ReportRequest& request, const LogJson& json, std::string& line) {
  std::vector<LogInput> inputs;
  std::string problem = openLogs(request.logs, inputs);
  LogReader reader;
  LogSummarizer summarizer(request.window);
  {
    Progress progress(kReportProgram, inputs);
    for (std::size_t i = 0; problem.empty() && i < inputs.size(); ++i) {
      problem = readLog(reader, inputs[i], progress, [&](const LogRecord& record, const auto&) {
        summarizer.add(record);
        return true;
      });
    }
  }
  const LogSummary summary = summarizer.finish();
  appendReport(summary, json, line);
  return problem;
}

int printJson(const ReportRequest& request, std::vector<LogInput>& inputs) {
  LogReader reader;
  LogJson json(request.device);
  WindowFilter filter(request.window);
  OutputFile output = OutputFile::standardOutput();
  bool written = true;
  Reach reached;
  // What can be read only once is summed up meanwhile, and its report comes last.
  const bool once =
      std::ranges::any_of(inputs, [](const LogInput& input) { return !input.canBeReadAgain(); });
  LogSummarizer summarizer(request.window);
  if (!once) {
    const std::string problem = reportLine(request, json, output.pending());
    if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
  }
  Progress progress(kReportProgram, inputs);
  for (LogInput& input : inputs) {
    const std::string problem =
        readLog(reader, input, progress, [&](const LogRecord& record, const std::string& file) {
          if (once) summarizer.add(record);
          reached.add(record);
          json.add(record, file, filter.takes(record), output.pending());
          return written = output.flushIfMuch();
        });
    if (!written) return complain(kReportProgram, output.problem(), kFailed);
    if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
  }
  if (!reached.touches(request.window)) return nothingToReport(request.window);
  json.release(output.pending());
  if (once) appendReport(summarizer.finish(), json, output.pending());
  return finish(output);
}

// Prints new events. Existing entries are read without being printed, unless --since is given.
int follow(const ReportRequest& request, std::vector<LogInput>& inputs) {
  OutputFile output = OutputFile::standardOutput();
  bool live = request.window.since != LogWindow::kAlways;
  LogNews news([&](const std::string& line) { output.pending().append(line).append("\n"); });
  LogJson json(request.device);
  WindowFilter filter(request.window);
  const auto take = [&](const LogRecord& record, const std::string& file) {
    const bool inside = filter.takes(record);
    if (!request.json) {
      news.add(record, live && inside);
    } else {
      json.add(record, file, live && inside, output.pending());
    }
    return output.flushIfMuch();
  };
  LogReader reader;
  {
    Progress progress(kReportProgram, inputs);
    for (std::size_t i = 0; i + 1 < inputs.size(); ++i) {
      const std::string problem = readLog(reader, inputs[i], progress, take);
      if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    }
  }
  bool written = true;
  using Seconds = LogFollower::Seconds;
  LogFollower follower(std::move(inputs.back()), [&](Seconds silence) -> std::optional<Seconds> {
    if (silence > Seconds(0)) {
      news.silent(silence.count());
      json.release(output.pending());
    }
    if (!std::exchange(live, true) && !request.json) {
      output.pending() += "Following " + safeText(follower.input().name());
      if (news.level()) output.pending() += "; the battery is at " + figure(*news.level()) + " %";
      output.pending() += ".\n";
      news.begin();
    }
    written = output.finish();
    if (!written) return std::nullopt;
    if (silence == Seconds(0)) return Seconds(1);
    const auto due = news.due();
    return due ? std::max(Seconds(*due), silence + Seconds(1)) : LogFollower::kNever;
  });
  live = live || !follower.input().size();
  if (const std::string problem = follower.watch(); !problem.empty()) {
    return complain(kReportProgram, problem, kFailed);
  }
  LogRecord record;
  do {
    reader.begin([&](char* to, std::size_t most) { return follower.read(to, most); });
    while (written && reader.next(record)) written = take(record, follower.input().name());
    const std::string problem = readProblem(reader, follower.input(), record.line);
    if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
  } while (written && follower.next());
  news.finish();
  json.release(output.pending());
  return written ? finish(output) : complain(kReportProgram, output.problem(), kFailed);
}

int run(const std::vector<std::string>& arguments) {
  ReportRequest request;
  if (const auto end = readReportRequest(arguments, request)) return end->write();
  if (!request.compare) {
    const std::string problem = findLogs(request.logs, {request.period.since, request.follow});
    if (!problem.empty()) return complain(kReportProgram, problem, kFailed);
    arrangeLogs(kReportProgram, request.logs);
  }
  request.window = request.period.of(request.logs);
  if (request.window.since > request.window.until) {
    return badUsage(kReportProgram, "--since is later than --until.").write();
  }
  std::vector<LogInput> inputs;
  if (const std::string problem = openLogs(request.logs, inputs); !problem.empty()) {
    return complain(kReportProgram, problem, kFailed);
  }
  if (request.follow && inputs.back().isCompressed()) {
    return complain(kReportProgram,
                    inputs.back().name() +
                        ": is compressed: it does not grow, so that --follow "
                        "cannot follow it",
                    kFailed);
  }
  if (request.follow) return follow(request, inputs);
  if (request.output) return writePage(request, inputs);
  if (request.trace) return writeTrace(request, inputs);
  if (request.metrics) return writeMetrics(request, inputs);
  if (request.compare) return printComparison(request, inputs);
  return request.json ? printJson(request, inputs) : printSummary(request, inputs);
}

}  // namespace
}  // namespace zorva

int main(int count, char** arguments) {
  zorva::prepareProcess();
  return zorva::run({arguments + (count > 0 ? 1 : 0), arguments + count});
}

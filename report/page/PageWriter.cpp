// SPDX-License-Identifier: Apache-2.0
#include "report/page/PageWriter.h"

#include <algorithm>

#include "platform/base/Text.h"
#include "report/page/PageJson.h"
#include "report/page/PageParts.h"

namespace zorva {
namespace {

std::string_view nameOf(PageTable::Kind kind) {
  switch (kind) {
    case PageTable::Kind::Text:
      return "text";
    case PageTable::Kind::Process:
      return "process";
    case PageTable::Kind::Count:
      return "count";
    case PageTable::Kind::Seconds:
      return "seconds";
    case PageTable::Kind::Bytes:
      return "bytes";
    case PageTable::Kind::Percent:
      return "percent";
    case PageTable::Kind::WattHours:
      return "wattHours";
    case PageTable::Kind::Watts:
      return "watts";
    case PageTable::Kind::Time:
      return "time";
  }
  return "text";
}

// With a comma between any two items.
template <typename Items, typename Append>
void appendList(std::string& to, const Items& items, Append append) {
  to += '[';
  bool first = true;
  for (const auto& item : items) {
    if (!first) to += ',';
    first = false;
    append(item);
  }
  to += ']';
}

void appendTexts(std::string& to, const std::vector<std::string>& texts) {
  appendList(to, texts, [&](const std::string& text) { appendPageText(to, text); });
}

void appendTable(std::string& to, const PageTable& table) {
  to += "\n{\"title\":";
  appendPageText(to, table.title);
  to += ",\"columns\":";
  appendList(to, table.columns, [&](const PageTable::Column& column) {
    to += "{\"name\":";
    appendPageText(to, column.name);
    to += ",\"kind\":";
    appendPageText(to, nameOf(column.kind));
    to += '}';
  });
  const std::size_t shown = std::min(table.rows.size(), PageWriter::kMaxRows);
  to += ",\"inView\":";
  appendPageText(to, table.inView);
  to += ",\"left\":" + std::to_string(table.rows.size() - shown) + ",\"rows\":";
  appendList(to, std::span(table.rows).first(shown), [&](const auto& row) {
    appendList(to, row, [&](const PageTable::Cell& cell) {
      if (const auto* text = std::get_if<std::string>(&cell)) {
        appendPageText(to, *text);
      } else if (const auto* number = std::get_if<double>(&cell)) {
        appendPageNumber(to, *number);
      } else {
        to += "null";
      }
    });
  });
  to += '}';
}

void appendOptional(std::string& to, const std::optional<double>& number) {
  if (number) {
    appendPageNumber(to, *number);
  } else {
    to += "null";
  }
}

// Neighbours become one if there are too many intervals for a page.
std::vector<PageSummary::Account::Interval> bounded(
    std::vector<PageSummary::Account::Interval> intervals) {
  while (intervals.size() > PageWriter::kMaxIntervals) {
    for (std::size_t i = 0; i < intervals.size(); i += 2) {
      PageSummary::Account::Interval& to = intervals[i / 2];
      if (i > 0) to = std::move(intervals[i]);
      if (i + 1 == intervals.size()) continue;
      const PageSummary::Account::Interval& more = intervals[i + 1];
      to.end = more.end;
      to.used += more.used;
      for (const auto& [part, percent] : more.parts) {
        const auto same =
            std::ranges::find(to.parts, part, [](const auto& one) { return one.first; });
        if (same == to.parts.end()) {
          to.parts.emplace_back(part, percent);
        } else {
          same->second += percent;
        }
      }
    }
    intervals.resize((intervals.size() + 1) / 2);
  }
  return intervals;
}

void appendAccount(std::string& to, const PageSummary::Account& account) {
  if (account.intervals.empty()) return;
  to += ",\n\"account\":{\"wattHours\":";
  appendPageNumber(to, account.wattHoursPerPercent);
  to += ",\"parts\":";
  appendList(to, account.parts, [&](const PageSummary::Account::Part& part) {
    to += "{\"what\":";
    appendPageText(to, part.what);
    to += ",\"name\":";
    appendPageText(to, part.name);
    to +=
        formatText(",\"measured\":%s,\"uncertain\":%s,\"error\":", part.measured ? "true" : "false",
                   part.uncertain ? "true" : "false");
    appendPageNumber(to, part.error);
    to += '}';
  });
  to += ",\"intervals\":";
  appendList(to, bounded(account.intervals), [&](const auto& interval) {
    to += formatText("[%lld,%lld,", static_cast<long long>(interval.begin),
                     static_cast<long long>(interval.end));
    appendPageNumber(to, interval.used);
    for (const auto& [part, percent] : interval.parts) {
      to += ',' + std::to_string(part) + ',';
      appendPageNumber(to, percent);
    }
    to += ']';
  });
  to += '}';
}

void appendSleeps(std::string& to, const std::vector<PageSummary::SleepEnergy>& sleeps) {
  to += ",\"sleeps\":";
  appendList(to, std::span(sleeps).first(std::min(sleeps.size(), SpanStore::kMaximum)),
             [&](const PageSummary::SleepEnergy& sleep) {
               to += '[' + std::to_string(sleep.begin);
               for (const auto& figure : {sleep.used, sleep.wattHours, sleep.deepShare}) {
                 to += ',';
                 appendOptional(to, figure);
               }
               to += ']';
             });
}

}  // namespace

PageWriter::PageWriter(std::string& to, const LogWindow& window)
    : to_(to), window_(window), log_(std::make_unique<Log>(to, window, 0)) {
  to_ += pageHead();
}

void PageWriter::add(const LogRecord& record) {
  if (!log_) log_ = std::make_unique<Log>(to_, window_, logs_);
  Log& log = *log_;
  const bool inside = log.filter.takes(record);
  const bool timed = inside && record.isTimed();
  if (timed) log.timeline.advance(record.time);
  log.history.add(record);
  if (timed) {
    log.time = record.time;
    log.at = log.timeline.at(log.time);
  }
  if (inside && record.piece == LogPiece::Damaged && record.lines > 0) {
    log.timeline.moment({log.time, "damaged line", trimmed(record.raw), true, log.position});
  }
  if (inside) log.lines.add(record.raw, log.position, log.at);
  ++log.position;
}

void PageWriter::finishLog(const PageSummary& summary) {
  if (!log_) log_ = std::make_unique<Log>(to_, window_, logs_);
  log_->history.finish();
  log_->lines.finish();
  const std::string number = std::to_string(logs_);
  to_ += "<script type=\"application/json\" id=\"summary-" + number + "\">{\"title\":";
  appendPageText(to_, summary.title);
  to_ += ",\"verdict\":";
  appendTexts(to_, summary.verdict);
  to_ += ",\"findings\":";
  appendList(to_, summary.findings, [&](const PageSummary::Finding& finding) {
    to_ += "{\"sentence\":";
    appendPageText(to_, finding.sentence);
    to_ += ",\"figures\":";
    appendTexts(to_, finding.figures);
    to_ += formatText(",\"from\":%lld,\"to\":%lld}", static_cast<long long>(finding.from),
                      static_cast<long long>(finding.to));
  });
  appendAccount(to_, summary.account);
  appendSleeps(to_, summary.sleeps);
  to_ += ",\"facts\":";
  appendTexts(to_, summary.facts);
  to_ += ",\"tables\":";
  appendList(to_, summary.tables, [&](const PageTable& table) { appendTable(to_, table); });
  to_ += ",\"lines\":";
  appendList(to_, log_->lines.chunks(), [&](const PageLines::Chunk& chunk) {
    to_ += formatText("%llu,%lld", static_cast<unsigned long long>(chunk.first),
                      static_cast<long long>(chunk.at));
  });
  to_ += ",\"end\":" + std::to_string(log_->lines.end());
  to_ += "}</script>\n<script type=\"application/json\" id=\"timeline-" + number + "\">";
  log_->timeline.appendJson(to_);
  to_ += "</script>\n";
  log_.reset();
  ++logs_;
}

void PageWriter::appendEnd(const std::string& title, const std::vector<std::string>& verdict,
                           const PageTable* differences) {
  to_ += "<script type=\"application/json\" id=\"page\">{\"title\":";
  appendPageText(to_, title);
  to_ += ",\"logs\":" + std::to_string(logs_) + ",\"verdict\":";
  appendTexts(to_, verdict);
  if (differences != nullptr) {
    to_ += ",\"differences\":";
    appendTable(to_, *differences);
  }
  to_ += "}</script>\n";
  to_ += pageTail();
}

void PageWriter::finish(const PageSummary& summary) {
  finishLog(summary);
  appendEnd(summary.title, {}, nullptr);
}

void PageWriter::finishComparison(const PageComparison& comparison) {
  appendEnd(comparison.title, comparison.verdict, &comparison.differences);
}

}  // namespace zorva

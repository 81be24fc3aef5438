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

}  // namespace

PageWriter::PageWriter(std::string& to, const LogWindow& window)
    : to_(to), filter_(window), timeline_(window), history_(timeline_), lines_(to) {
  to_ += pageHead();
}

void PageWriter::add(const LogRecord& record) {
  const bool inside = filter_.takes(record);
  const bool timed = inside && record.isTimed();
  if (timed) timeline_.advance(record.time);
  history_.add(record);
  if (timed) {
    time_ = record.time;
    at_ = timeline_.at(time_);
  }
  if (inside && record.piece == LogPiece::Damaged && record.lines > 0) {
    timeline_.moment({time_, "damaged line", trimmed(record.raw), true, position_});
  }
  if (inside) lines_.add(record.raw, position_, at_);
  ++position_;
}

void PageWriter::finish(const PageSummary& summary) {
  history_.finish();
  lines_.finish();
  to_ += "<script type=\"application/json\" id=\"summary\">{\"title\":";
  appendPageText(to_, summary.title);
  to_ += ",\"facts\":";
  appendList(to_, summary.facts, [&](const std::string& fact) { appendPageText(to_, fact); });
  to_ += ",\"tables\":";
  appendList(to_, summary.tables, [&](const PageTable& table) { appendTable(to_, table); });
  to_ += ",\"lines\":";
  appendList(to_, lines_.chunks(), [&](const PageLines::Chunk& chunk) {
    to_ += formatText("%llu,%lld", static_cast<unsigned long long>(chunk.first),
                      static_cast<long long>(chunk.at));
  });
  to_ += ",\"end\":" + std::to_string(lines_.end());
  to_ += "}</script>\n<script type=\"application/json\" id=\"timeline\">";
  timeline_.appendJson(to_);
  to_ += "</script>\n";
  to_ += pageTail();
}

}  // namespace zorva

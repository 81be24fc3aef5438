// SPDX-License-Identifier: Apache-2.0
#include "report/page/PageDifferences.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>
#include <utility>

#include "platform/base/Text.h"
#include "report/text/TextPage.h"

namespace zorva {
namespace {

using Cell = PageTable::Cell;
using Kind = ComparedFigure::Kind;

const char* titleOf(Kind kind) {
  switch (kind) {
    case Kind::Charge:
      return "Charge used";
    case Kind::Share:
      return "Time";
    case Kind::Cause:
      return "Used by";
    case Kind::Wakes:
      return "Wakes";
    case Kind::Held:
      return "Kept awake";
    case Kind::Cpu:
      return "CPU time";
    case Kind::Bytes:
      break;
  }
  return "Traffic";
}

// How much a figure changed from the first log to the last, in units of its kind.
double weightOf(const ComparedFigure& compared) {
  const auto& before = compared.values.front();
  const auto& now = compared.values.back();
  return before && now ? std::fabs(*now - *before) / notableChange(compared.kind) : 0;
}

Cell changeOf(const ComparedFigure& compared) {
  const auto& before = compared.values.front();
  const auto& now = compared.values.back();
  if (!before || !now) return {};
  if (*before <= 0 || *now <= 0)
    return std::string(*now > *before ? "new" : *now < *before ? "gone" : "same");
  const double ratio = *now / *before;
  if (ratio >= 10) return grouped(static_cast<std::uint64_t>(std::llround(ratio))) + " times";
  return ratio > 1.005 || ratio < 0.995 ? formatText("%+.0f %%", 100 * (ratio - 1))
                                        : std::string("same");
}

}  // namespace

PageComparison pageComparison(const std::vector<ComparedLog>& logs) {
  PageComparison page;
  page.differences = {"What changed, per hour",
                      {{"Figure", PageTable::Kind::Text}, {"Of", PageTable::Kind::Text}},
                      {}};
  for (const ComparedLog& log : logs) {
    const std::string name =
        log.name == "-" ? "standard input" : log.name.substr(log.name.rfind('/') + 1);
    page.title += (page.title.empty() ? "" : " and ") + name;
    page.differences.columns.push_back({name, PageTable::Kind::Text});
    if (!log.answer.verdict.empty()) {
      page.verdict.push_back(name + ": " + log.answer.verdict.front());
    }
  }
  page.differences.columns.push_back({"Change", PageTable::Kind::Text});
  std::vector<ComparedFigure> figures = compare(logs);
  std::ranges::stable_sort(figures, std::greater(), [](const ComparedFigure& compared) {
    const bool first = compared.kind == Kind::Charge || compared.kind == Kind::Share;
    return std::tuple(first, compared.kind == Kind::Cause, weightOf(compared));
  });
  for (const ComparedFigure& compared : figures) {
    auto& row = page.differences.rows.emplace_back();
    row.emplace_back(titleOf(compared.kind));
    row.emplace_back(compared.name);
    for (const auto& value : compared.values)
      row.push_back(value ? Cell(comparedText(compared.kind, *value)) : Cell());
    row.push_back(changeOf(compared));
  }
  return page;
}

}  // namespace zorva

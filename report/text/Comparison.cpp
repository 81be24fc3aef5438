// SPDX-License-Identifier: Apache-2.0
#include "report/text/Comparison.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

using Align = TextPage::Align;
using Kind = ComparedFigure::Kind;
using Row = TextPage::Row;
using Values = std::vector<std::optional<double>>;

constexpr std::size_t kMaxRows = 8;
constexpr std::size_t kMaxChanges = 8;
constexpr const char* kOverall = "in all";
constexpr double kMinRatio = 1.25;  // of a change that is reported

struct KindTraits {
  const char* title;
  double notable;  // the smallest difference that is reported
};

KindTraits traitsOf(Kind kind) {
  switch (kind) {
    case Kind::Charge:
      return {"Charge used per hour", 0.2};
    case Kind::Share:
      return {"Share of the time", 5};
    case Kind::Cause:
      return {"Charge used per hour on battery, by cause", 0.2};
    case Kind::Wakes:
      return {"Wakes per hour", 0.2};
    case Kind::Held:
      return {"Kept awake, per hour", 120};
    case Kind::Cpu:
      return {"CPU time per hour", 10};
    case Kind::Bytes:
      break;
  }
  return {"Traffic per hour", 1 << 20};
}

std::string text(Kind kind, const std::optional<double>& value) {
  return value ? comparedText(kind, *value) : "-";
}

// The change from the first log to the last.
std::string changeText(const ComparedFigure& figureOf) {
  const auto& before = figureOf.values.front();
  const auto& now = figureOf.values.back();
  if (!before || !now) return "";
  if (*before <= 0 || *now <= 0) return *now > *before ? "new" : *now < *before ? "gone" : "";
  const double ratio = *now / *before;
  if (ratio >= 0.995 && ratio < 1.005) return "same";
  return ratio >= 10 || ratio <= 0.1
             ? (ratio > 1 ? "x " : "/ ") + figure(std::max(ratio, 1 / ratio))
             : formatText("%+.0f %%", 100 * (ratio - 1));
}

// Figures of one kind by name. A name may be missing from some logs.
class Gathered {
 public:
  Gathered(Kind kind, std::size_t logs) : kind_(kind), logs_(logs) {}

  void add(std::size_t log, const std::string& name, double amount, double hours) {
    if (hours <= 0) return;
    Values& values = values_.try_emplace(name, logs_, std::optional<double>(0.0)).first->second;
    *values[log] += amount / hours;
  }

  void moveTo(std::vector<ComparedFigure>& figures) const {
    std::vector<ComparedFigure> all;
    for (const auto& [name, values] : values_) all.push_back({kind_, name, values});
    std::ranges::stable_sort(all, std::greater(), [](const ComparedFigure& figureOf) {
      return std::ranges::max(figureOf.values);
    });
    figures.insert(figures.end(), all.begin(), all.end());
  }

 private:
  Kind kind_;
  std::size_t logs_;
  std::map<std::string, Values> values_;
};

double hoursOf(LogTime seconds) {
  return static_cast<double>(seconds) / 3600;
}

std::string letter(std::size_t log) {
  return log < 26 ? std::string(1, static_cast<char>('A' + log)) : std::to_string(log + 1);
}

std::string subject(const ComparedFigure& figureOf) {
  switch (figureOf.kind) {
    case Kind::Charge:
      return "Charge used " + figureOf.name;
    case Kind::Share:
      return "Time " + figureOf.name;
    case Kind::Cause:
      return "Used by " + figureOf.name;
    case Kind::Wakes:
      return figureOf.name == "all"              ? "Wakes"
             : figureOf.name.starts_with("for ") ? "Wakes " + figureOf.name
                                                 : "Wakes by " + figureOf.name;
    case Kind::Held:
      return "Kept awake by " + figureOf.name;
    case Kind::Cpu:
      return "CPU time of " + figureOf.name;
    case Kind::Bytes:
      break;
  }
  return "Bytes " + figureOf.name;
}

void reportChanges(const std::vector<ComparedFigure>& figures, TextPage& page) {
  struct Change {
    double weight;
    const ComparedFigure* of;
  };
  std::vector<Change> changes;
  // What matters most comes first: overall, asleep or awake, and then what used it.
  const auto rank = [](const Change& change) {
    const ComparedFigure& of = *change.of;
    const bool overall = of.kind == Kind::Charge && of.name == kOverall;
    const int kind = overall ? 0 : of.kind == Kind::Share ? 1 : of.kind == Kind::Cause ? 2 : 3;
    return std::pair(kind, -change.weight);
  };
  for (const ComparedFigure& figureOf : figures) {
    const auto& before = figureOf.values.front();
    const auto& now = figureOf.values.back();
    if (!before || !now) continue;
    const double weight = std::fabs(*now - *before) / traitsOf(figureOf.kind).notable;
    const double low = std::min(*now, *before);
    if (weight < 1 || std::max(*now, *before) < low * kMinRatio) continue;
    changes.push_back({weight, &figureOf});
  }
  std::ranges::stable_sort(changes, {}, rank);
  if (changes.size() > kMaxChanges) changes.resize(kMaxChanges);
  if (changes.empty()) {
    page.sentence("No notable change.");
    return;
  }
  std::vector<Row> rows;
  for (const auto& [weight, of] : changes) {
    rows.push_back({subject(*of), text(of->kind, of->values.front()), "to",
                    text(of->kind, of->values.back()), changeText(*of)});
  }
  page.table({{"", Align::Left, true}, {"", Align::Right}, {""}, {""}, {"", Align::Right}}, rows);
}

}  // namespace

std::string comparedText(Kind kind, double value) {
  switch (kind) {
    case Kind::Charge:
    case Kind::Share:
    case Kind::Cause:
      return figure(value) + " %";
    case Kind::Wakes:
      return figure(value);
    case Kind::Held:
    case Kind::Cpu:
      return value > 0 && value < 1 ? figure(value) + " s" : duration(std::llround(value));
    case Kind::Bytes:
      break;
  }
  return byteCount(value);
}

double notableChange(Kind kind) {
  return traitsOf(kind).notable;
}

std::vector<ComparedFigure> compare(const std::vector<ComparedLog>& logs) {
  ComparedFigure overall{Kind::Charge, kOverall, {}};
  ComparedFigure share{Kind::Share, "asleep", {}};
  Gathered causes(Kind::Cause, logs.size());
  ComparedFigure asleep{Kind::Charge, "asleep", {}};
  ComparedFigure awake{Kind::Charge, "awake", {}};
  ComparedFigure wakes{Kind::Wakes, "all", {}};
  Gathered reasons(Kind::Wakes, logs.size());
  Gathered holders(Kind::Held, logs.size());
  Gathered processes(Kind::Cpu, logs.size());
  Gathered traffic(Kind::Bytes, logs.size());
  for (std::size_t i = 0; i < logs.size(); ++i) {
    const LogSummary& summary = logs[i].summary;
    const double hours = hoursOf(summary.covered);
    const Answer& answer = logs[i].answer;
    const double onBattery = hoursOf(answer.whole.seconds);
    overall.values.push_back(onBattery > 0 ? std::optional(answer.whole.percent / onBattery)
                                           : std::nullopt);
    share.values.push_back(hours > 0 ? std::optional(100 * hoursOf(summary.asleepSeconds) / hours)
                                     : std::nullopt);
    for (const AccountPart& part : answer.whole.parts) {
      causes.add(i, causeText(part.cause, part.name), part.percent, onBattery);
    }
    asleep.values.push_back(answer.account.asleep().perHour());
    awake.values.push_back(answer.account.awake().perHour());
    wakes.values.push_back(hours > 0 ? std::optional(static_cast<double>(summary.wakes) / hours)
                                     : std::nullopt);
    for (const auto& tally : summary.wakeReasons) {
      reasons.add(i, tally.name, static_cast<double>(tally.count), hours);
    }
    for (const auto& tally : summary.wakeOwners) {
      reasons.add(i, "for " + tally.name, static_cast<double>(tally.count), hours);
    }
    for (const auto& tally : summary.lane(Lane::Assertion)) {
      holders.add(i, tally.name + ": " + tally.detail, static_cast<double>(tally.awake), hours);
    }
    for (const auto& [name, seconds] : summary.processes) {
      processes.add(i, name, static_cast<double>(seconds), hoursOf(summary.processSeconds));
    }
    if (summary.traffic) {
      traffic.add(i, "received", summary.received, hours);
      traffic.add(i, "sent", summary.sent, hours);
    }
  }
  std::vector<ComparedFigure> figures{overall, asleep, awake, share};
  causes.moveTo(figures);
  figures.push_back(wakes);
  reasons.moveTo(figures);
  holders.moveTo(figures);
  processes.moveTo(figures);
  traffic.moveTo(figures);
  return figures;
}

std::string comparisonText(const std::vector<ComparedLog>& logs, const TextStyle& style) {
  TextPage page(style);
  page.heading("Compared");
  std::vector<Row> names;
  for (std::size_t i = 0; i < logs.size(); ++i) {
    const LogSummary& summary = logs[i].summary;
    names.push_back({letter(i), logs[i].name,
                     summary.isEmpty() ? "no entry" : "from " + shortTime(summary.first),
                     duration(summary.covered)});
  }
  page.table({{""}, {"", Align::Left, true}, {""}, {"", Align::Right}}, names);
  for (std::size_t i = 0; i < logs.size(); ++i) {
    if (logs[i].answer.verdict.empty()) continue;
    page.heading("Answer, " + letter(i));
    for (const std::string& sentence : logs[i].answer.verdict) page.sentence(sentence);
  }
  const std::vector<ComparedFigure> figures = compare(logs);
  page.heading("What changed from " + letter(0) + " to " + letter(logs.size() - 1) + ", per hour");
  reportChanges(figures, page);

  for (auto at = figures.begin(); at != figures.end();) {
    const auto end = std::find_if(at, figures.end(), [&](const ComparedFigure& figureOf) {
      return figureOf.kind != at->kind;
    });
    page.heading(traitsOf(at->kind).title);
    std::vector<TextPage::Column> columns{{"", Align::Left, true}};
    std::vector<std::string> letters;
    for (std::size_t i = 0; i < logs.size(); ++i) letters.push_back(letter(i));
    for (const std::string& name : letters) columns.push_back({name, Align::Right});
    columns.push_back({"change", Align::Right});
    std::vector<Row> rows;
    for (auto figureOf = at; figureOf != end && rows.size() < kMaxRows; ++figureOf) {
      Row& row = rows.emplace_back();
      row.push_back(figureOf->name);
      for (const auto& value : figureOf->values) row.push_back(text(figureOf->kind, value));
      row.push_back(changeText(*figureOf));
    }
    page.table(columns, rows);
    const auto more = static_cast<std::size_t>(end - at) - rows.size();
    if (more > 0) page.sentence("And " + grouped(more) + " more.");
    at = end;
  }
  return page.take();
}

}  // namespace zorva

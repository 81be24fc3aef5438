// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "report/answer/Answer.h"
#include "report/format/Wording.h"

namespace zorva {
namespace {

// Of all that was used: what a finding must weigh to be told in the verdict, and to be its reason.
constexpr double kSpeaks = 0.1;
constexpr double kMostly = 0.35;
constexpr double kLeastPercent = 1;

std::string shareOfBattery(const Finding& finding) {
  return std::string(finding.atMost ? " (at most " : " (about ") + wholePercent(finding.percent) +
         " of the battery).";
}

// " (in the same hours of 2 other days 8 % on average)".
std::string comparedWithUsual(const Answer& answer) {
  if (!answer.usual) return "";
  const bool one = answer.usualDays == 1;
  return " (in the same hours of " +
         (one ? std::string("another day") : std::to_string(answer.usualDays) + " other days") +
         " " + wholePercent(*answer.usual) + (one ? ")" : " on average)");
}

}  // namespace

// On battery, and on chargers that were too weak.
double usedInAll(const LogSummary& summary, const Answer& answer) {
  double used = std::max(0.0, answer.whole.percent);
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.weakCharger * 20 >= interval.seconds()) used += std::max(0.0, interval.used);
  }
  return used;
}

std::vector<std::string> verdictOf(const LogSummary& summary, const Answer& answer) {
  const AccountSum& whole = answer.whole;
  const double used = usedInAll(summary, answer);
  const bool weak = used > whole.percent + kLeastPercent;
  if (!summary.firstLevel || (used < kLeastPercent && answer.findings.empty())) {
    return summary.firstLevel ? std::vector<std::string>{"The battery lost next to nothing."}
                              : std::vector<std::string>{};
  }
  const double fell = *summary.firstLevel - *summary.lastLevel;
  const std::string begin =
      (std::fabs(fell - used) < 1
           ? "The battery fell " + wholePercent(used) + ", from " +
                 wholePercent(*summary.firstLevel) + " to " + wholePercent(*summary.lastLevel) +
                 ", in "
           : "The device used " + wholePercent(used) + " of a full battery in ") +
      duration(whole.seconds + (weak ? summary.seconds(Lane::WeakCharger) : 0)) +
      (answer.charged > 0 ? " on battery" : "") + comparedWithUsual(answer);
  std::vector<std::string> verdict;
  // What weighs little beside all that was used does not explain it.
  std::vector<const Finding*> large;
  for (const Finding& finding : answer.findings) {
    if (finding.weight >= kSpeaks * used && large.size() < 2) large.push_back(&finding);
  }
  if (large.empty()) {
    std::string rates;
    const auto add = [&](const Account::Charge& charge, const char* state) {
      const auto rate = charge.perHour();
      if (!rate || charge.seconds < 600) return;
      rates += (rates.empty() ? "" : ", ") + duration(charge.seconds) + " " + state + " at " +
               percentText(*rate) + " per hour";
    };
    add(answer.account.awake(), "awake");
    add(answer.account.asleep(), "asleep");
    verdict.push_back(begin + ", and nothing stands out" +
                      (rates.empty() ? "." : ": this is what the time costs here, " + rates + "."));
    std::string parts;
    for (const AccountPart& part : whole.parts) {
      if (part.cause == Cause::Unattributed || part.percent < kSpeaks * used) continue;
      parts += (parts.empty() ? "" : ", ") + causeText(part.cause, part.name) + " " +
               (part.measured ? "" : "about ") + wholePercent(part.percent);
    }
    if (!parts.empty()) verdict.push_back("The largest parts: " + parts + ".");
    return verdict;
  }
  const Finding& first = *large.front();
  const bool mostly = first.weight >= kMostly * used;
  verdict.push_back(
      begin +
      (mostly ? ", mostly because " + first.sentence : ". What stands out: " + first.sentence) +
      shareOfBattery(first));
  if (large.size() > 1) {
    verdict.push_back("Also, " + large[1]->sentence + shareOfBattery(*large[1]));
  }
  if (!first.advice.empty()) verdict.push_back(capitalized(first.advice));
  return verdict;
}

}  // namespace zorva

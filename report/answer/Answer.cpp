// SPDX-License-Identifier: Apache-2.0
#include "report/answer/Answer.h"

#include <algorithm>

namespace zorva {

Answer::Answer(const LogSummary& summary)
    : account(summary),
      whole(account.whole()),
      stretches(stretchesOf(summary, account)),
      wattHoursPerPercent(summary.wattHoursPerPercent()) {
  for (const PowerInterval& interval : summary.intervals) {
    if (interval.charging * 20 < interval.seconds()) continue;
    gained -= interval.used;
    charged += interval.seconds();
  }
  const LogSummary::OtherDays& others = summary.otherDays;
  if (others.days > 0 && whole.seconds > 0) {
    usual = std::max(0.0, others.percent) * static_cast<double>(whole.seconds) /
            static_cast<double>(others.seconds);
    usualDays = others.days;
  }
  findings = findingsOf(summary, *this);
  verdict = verdictOf(summary, *this);
}

}  // namespace zorva

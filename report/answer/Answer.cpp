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
  findings = findingsOf(summary, *this);
  verdict = verdictOf(summary, *this);
}

}  // namespace zorva

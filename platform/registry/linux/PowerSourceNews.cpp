// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/PowerSourceNews.h"

#include <cmath>

namespace zorva {

PowerSourceNews::PowerSourceNews(const Dictionary& state)
    : reported_(state), reportedMeaning_(meaningOf(state)), seen_(reportedMeaning_) {}

PowerSourceNews::Meaning PowerSourceNews::meaningOf(const Dictionary& state) {
  const double percent = state["CurrentCapacity"].real() * 100.0 / state["MaxCapacity"].real();
  return {!state.empty(),
          state["IsCharging"],
          state["FullyCharged"],
          state["AtCriticalLevel"],
          state["ChargeStatus"],
          percent > 0 && percent < 1e6 ? static_cast<std::uint32_t>(percent) : 0};
}

bool PowerSourceNews::isNews(Occasion occasion, const Dictionary& state, bool slept, Time now) {
  const Meaning meaning = meaningOf(state);
  if (occasion != Occasion::Held) learn(occasion, meaning, slept);
  seen_ = meaning;
  bool news = meaning != reportedMeaning_;
  if (!news && occasion != Occasion::Look) {
    const bool changed = state != reported_;
    const bool soon = reportedAt_ && now - *reportedAt_ < kBetweenDrifts;
    if (occasion == Occasion::Held) {
      news = changed;
    } else if (!soon) {
      news = true;
    } else if (changed) {
      heldUntil_ = *reportedAt_ + kBetweenDrifts;
    }
  }
  if (occasion == Occasion::Held) heldUntil_.reset();
  if (!news) return false;
  reported_ = state;
  reportedMeaning_ = meaning;
  reportedAt_ = now;
  heldUntil_.reset();
  return true;
}

// Firmware that sends an event only when the charger is plugged shows by then many percents at
// once, and never a single one in an unchanged state.
void PowerSourceNews::learn(Occasion occasion, const Meaning& seen, bool slept) {
  if (slept || !seen.present || !seen_.present || seen.percent == seen_.percent) return;
  const bool oneStep = std::abs(static_cast<double>(seen.percent) - seen_.percent) <= 1;
  if (occasion != Occasion::OwnEvent || !oneStep) {
    driver_ = Driver::Silent;
  } else if (seen.charging == seen_.charging && seen.full == seen_.full) {
    driver_ = Driver::Eventful;
  }
}

}  // namespace zorva

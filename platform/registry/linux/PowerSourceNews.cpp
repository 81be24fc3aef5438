// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/PowerSourceNews.h"

#include <cmath>

namespace zorva {

PowerSourceNews::PowerSourceNews(const Dictionary& state, std::chrono::microseconds betweenDrifts)
    : betweenDrifts_(betweenDrifts),
      reported_(state),
      reportedMeaning_(meaningOf(state)),
      seen_(reportedMeaning_),
      announced_(seen_.percent) {}

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
  const bool soon = reportedAt_ && now - *reportedAt_ < betweenDrifts_;
  const bool swinging = occasion != Occasion::Held && soon && swings(meaning);
  bool news = meaning != reportedMeaning_ && !swinging;
  if (swinging) {
    heldUntil_ = *reportedAt_ + betweenDrifts_;
  } else if (!news && occasion != Occasion::Look) {
    const bool changed = state != reported_;
    if (occasion == Occasion::Held) {
      news = changed;
    } else if (!soon) {
      news = true;
    } else if (changed) {
      heldUntil_ = *reportedAt_ + betweenDrifts_;
    }
  }
  if (occasion == Occasion::Held) heldUntil_.reset();
  if (!news) return false;
  if (meaning.percent != reportedMeaning_.percent) {
    swings_ = soon && meaning.percent == swingsBack_ ? swings_ + 1 : 0;
    swingsBack_ = reportedMeaning_.percent;
  }
  reported_ = state;
  reportedMeaning_ = meaning;
  reportedAt_ = now;
  heldUntil_.reset();
  return true;
}

// Back to the percent before, not for the first time, and nothing else has changed.
bool PowerSourceNews::swings(const Meaning& meaning) const {
  if (swings_ == 0 || meaning.percent == reportedMeaning_.percent) return false;
  Meaning same = meaning;
  same.percent = reportedMeaning_.percent;
  return meaning.percent == swingsBack_ && same == reportedMeaning_;
}

// Firmware that sends an event only when the charger is plugged shows by then many percents at
// once, and never a single one in an unchanged state.
void PowerSourceNews::learn(Occasion occasion, const Meaning& seen, bool slept) {
  const auto apart = [&](std::uint32_t percent) {
    return std::abs(static_cast<double>(seen.percent) - percent);
  };
  const bool comparable = !slept && seen.present && seen_.present;
  if (comparable && occasion != Occasion::OwnEvent) {
    const bool ahead = driver_ == Driver::Eventful && apart(announced_) <= 1;
    if (apart(seen_.percent) > 0 && !ahead) driver_ = Driver::Silent;
    return;
  }
  announced_ = seen.percent;
  if (!comparable || apart(seen_.percent) == 0) return;
  if (apart(seen_.percent) > 1) {
    driver_ = Driver::Silent;
  } else if (seen.charging == seen_.charging && seen.full == seen_.full) {
    driver_ = Driver::Eventful;
  }
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/ChargeAccount.h"

#include <algorithm>

namespace zorva {
namespace {

// If at least this share of an interval was spent in one state, all charge used in it is attributed
// to that state.
constexpr double kNearlyAll = 0.9;

void add(LogSummary::Charge& charge, double percent, LogTime seconds) {
  charge.percent += percent;
  charge.seconds += seconds;
}

}  // namespace

void ChargeAccount::addLevel(LogTime time, double percent) {
  if (!levels_.empty() && levels_.back().time == time) levels_.pop_back();
  if (before_) interrupted_ += *before_ - percent;
  before_.reset();
  levels_.push_back({time, percent});
}

LogTime ChargeAccount::overlap(const std::vector<Stretch>& stretches, LogTime from, LogTime to,
                               std::size_t& first) {
  while (first < stretches.size() && stretches[first].end <= from) ++first;
  LogTime seconds = 0;
  for (std::size_t i = first; i < stretches.size() && stretches[i].begin < to; ++i) {
    seconds += std::min(stretches[i].end, to) - std::max(stretches[i].begin, from);
  }
  return seconds;
}

void ChargeAccount::close(LogSummary& to) {
  std::size_t firstAsleep = 0;
  std::size_t firstCharging = 0;
  for (std::size_t i = 1; i < levels_.size(); ++i) {
    const Level& before = levels_[i - 1];
    const Level& now = levels_[i];
    const LogTime seconds = now.time - before.time;
    const double used = before.percent - now.percent;
    const auto part = [&](LogTime of) {
      return seconds > 0 ? static_cast<double>(of) / static_cast<double>(seconds) : 0.0;
    };
    const double asleep = part(overlap(asleep_, before.time, now.time, firstAsleep));
    if (part(overlap(charging_, before.time, now.time, firstCharging)) > 1 - kNearlyAll) {
      add(to.charging, -used, seconds);
    } else if (asleep >= kNearlyAll) {
      add(to.asleep, used, seconds);
    } else if (asleep <= 1 - kNearlyAll) {
      add(to.awake, used, seconds);
    } else {
      add(to.mixed, used, seconds);
    }
  }
  firstAsleep = 0;
  for (const Stretch& stretch : charging_) {
    to.asleepOnCharger += overlap(asleep_, stretch.begin, stretch.end, firstAsleep);
  }
  to.interrupted += interrupted_;
  interrupted_ = 0;
  if (!levels_.empty()) before_ = levels_.back().percent;
  levels_.clear();
  asleep_.clear();
  charging_.clear();
}

}  // namespace zorva

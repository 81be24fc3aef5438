// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/OpenSpans.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace zorva {
namespace {

// Seconds that a snapshot may take. With many processes it takes a while.
constexpr LogTime kSnapshotSeconds = 5;

// Snapshots have no entry for Bluetooth, and one for position sources only if they have changed.
bool isInSnapshots(Lane lane) {
  return lane != Lane::Bluetooth && lane != Lane::Location && lane != Lane::Asleep;
}

bool isUnknown(std::string_view text) {
  return text.empty() || text.front() == '<';
}

}  // namespace

void OpenSpans::beginAt(const LogMark& mark) {
  seen_ = {};
  start_ = mark.time;
  snapshotEnd_ = mark.time + kSnapshotSeconds;
  snapshotPending_ = false;
}

void OpenSpans::beginSnapshot(const LogMark& last, LogTime now) {
  for (Open& open : open_) open.confirmed = !isInSnapshots(open.lane);
  last_ = last;
  snapshotEnd_ = now + kSnapshotSeconds;
  snapshotPending_ = true;
}

void OpenSpans::passTime(LogTime now) {
  if (!snapshotPending_ || inSnapshot(now)) return;
  snapshotPending_ = false;
  std::erase_if(open_, [&](const Open& open) {
    if (!open.confirmed) report(open, last_, false);
    return !open.confirmed;
  });
}

std::vector<LogSpan> OpenSpans::lasting(Lane lane) const {
  std::vector<LogSpan> all;
  for (const Open& open : open_) {
    if (open.lane != lane) continue;
    all.push_back({lane, open.begin, open.begin, open.beginKnown, false, open.who, open.pid,
                   open.what, open.first, open.first});
  }
  return all;
}

OpenSpans::Open* OpenSpans::find(Lane lane, std::string_view key) {
  const auto found = std::ranges::find_if(
      open_, [&](const Open& open) { return open.lane == lane && open.key == key; });
  return found == open_.end() ? nullptr : &*found;
}

// The assertion with this key that began nearest to the time.
OpenSpans::Open* OpenSpans::findAssertion(std::string_view key, LogTime since) {
  Open* best = nullptr;
  for (Open& open : open_) {
    if (open.lane != Lane::Assertion || open.key != key) continue;
    if (best == nullptr || std::abs(open.begin - since) < std::abs(best->begin - since)) {
      best = &open;
    }
  }
  return best;
}

void OpenSpans::open(Lane lane, const LogState& state, LogTime begin, bool known,
                     const LogMark& now) {
  if (lane == Lane::Asleep) asleepSince_ = begin;
  open_.push_back({lane, std::string(state.key), std::string(state.who), state.pid,
                   std::string(state.what), begin, known, true, now.position, std::nullopt});
}

void OpenSpans::report(const Open& open, const LogMark& end, bool known) {
  if (open.lane == Lane::Asleep) asleepSince_.reset();
  // Entries of one moment pass through states that never lasted.
  const bool event = open.lane == Lane::Assertion || open.lane == Lane::Asleep;
  if (known && end.time <= open.begin && !event) return;
  sink_.span({open.lane, open.begin, std::max(open.begin, end.time), open.beginKnown, known,
              open.who, open.pid, open.what, open.first, end.position});
}

// Reports the span. The caller removes it.
void OpenSpans::close(Open& open, const LogMark& now) {
  if (open.confirmed) {
    report(open, now, true);
  } else {
    report(open, last_, false);
  }
}

void OpenSpans::on(Lane lane, const LogState& state, const LogMark& now) {
  const auto index = static_cast<std::size_t>(lane);
  const bool several = lane == Lane::Application || lane == Lane::Location;
  const bool known = lane == Lane::Asleep || (several ? !inSnapshot(now.time) : seen_[index]);
  seen_[index] = true;
  Open* const open = find(lane, state.key);
  if (open == nullptr) return this->open(lane, state, now.time, known, now);
  if (open->what == state.what && open->who == state.who) {
    open->confirmed = true;
    return;
  }
  close(*open, now);
  open->who = state.who;
  open->pid = state.pid;
  open->what = state.what;
  open->begin = now.time;
  open->beginKnown = open->confirmed;
  open->confirmed = true;
  open->first = now.position;
}

void OpenSpans::off(Lane lane, std::string_view key, const LogMark& now) {
  seen_[static_cast<std::size_t>(lane)] = true;
  Open* const open = find(lane, key);
  if (open == nullptr) return;
  close(*open, now);
  open_.erase(open_.begin() + (open - open_.data()));
}

void OpenSpans::assertionHeld(const LogState& state, LogTime since, const LogMark& now) {
  const LogTime begin = std::clamp(since, start_, now.time);
  Open* open = findAssertion(state.key, begin);
  // Assertions that are listed in one moment are different ones, unless they began together.
  if (open == nullptr || (open->listed == now.time && std::abs(open->begin - begin) > 1)) {
    this->open(Lane::Assertion, state, begin, since >= start_, now);
    open = &open_.back();
  }
  open->confirmed = true;
  open->listed = now.time;
  if (!isUnknown(state.who)) open->who = state.who;
}

void OpenSpans::assertionCreated(const LogState& state, const LogMark& now) {
  const Open* const twin = findAssertion(state.key, now.time);
  if (twin != nullptr && twin->begin == now.time) return;
  open(Lane::Assertion, state, now.time, true, now);
}

void OpenSpans::assertionReleased(const LogState& state, LogTime since, const LogMark& now) {
  Open* const open = findAssertion(state.key, since);
  if (open == nullptr) {
    // The assertion was not seen before. Its beginning is still the one that the entry gives.
    const LogTime begin = std::clamp(since, start_, now.time);
    this->open(Lane::Assertion, state, begin, since >= start_, now);
    report(open_.back(), now, true);
    open_.pop_back();
    return;
  }
  if (!isUnknown(state.who)) open->who = state.who;
  open->confirmed = true;
  close(*open, now);
  open_.erase(open_.begin() + (open - open_.data()));
}

void OpenSpans::lose(Lane lane, const LogMark& at) {
  std::erase_if(open_, [&](const Open& open) {
    if (open.lane == lane) report(open, at, false);
    return open.lane == lane;
  });
}

void OpenSpans::loseAll(const LogMark& at) {
  for (const Open& open : open_) report(open, open.confirmed ? at : last_, false);
  open_.clear();
}

void OpenSpans::continueAt(const LogMark& last, const LogMark& now) {
  for (Open& open : open_) {
    report(open, open.confirmed ? last : last_, false);
    open.begin = now.time;
    open.beginKnown = false;
    open.first = now.position;
    if (open.lane == Lane::Asleep) asleepSince_ = now.time;
  }
  start_ = now.time;
}

}  // namespace zorva

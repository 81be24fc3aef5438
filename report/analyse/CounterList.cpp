// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/CounterList.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace zorva {
namespace {

// How far from its likely place a key is searched for, and how many keys may be missing before an
// index of all is worth its cost.
constexpr std::size_t kNear = 32;
constexpr std::size_t kFew = 8;
// Higher figures are damage: in milliseconds, these are 278 years. Sums of them do not overflow.
constexpr std::int64_t kMost = std::int64_t{1} << 43;

}  // namespace

// Most counters have neither changed nor moved: their text is compared, not parsed.
const std::vector<CounterList::Growth>& CounterList::next(std::string_view body) {
  growths_.clear();
  now_ = 1 - now_;
  std::swap(counters_, before_);
  counters_.clear();
  index_.clear();
  likely_ = missed_ = 0;
  lowestBefore_ = 0;
  if (!known_) before_.clear();
  if (before_.size() >= most_) {
    lowestBefore_ = std::ranges::min(before_, {}, &Counter::figure).figure;
  }
  texts_[now_].assign(body);
  body = texts_[now_];
  for (std::size_t at = 0; at < body.size();) {
    while (likely_ < before_.size() && before_[likely_].found) ++likely_;
    if (likely_ < before_.size()) {
      Counter& old = before_[likely_];
      const std::size_t end = at + old.item.size();
      if (body.substr(at).starts_with(old.item) && (end == body.size() || body[end] == ' ')) {
        addUnchanged(body.substr(at, old.item.size()), old);
        at = end;
        continue;
      }
    }
    const std::size_t end = itemEnd(body, at);
    addParsed(body.substr(at, end - at));
    at = end;
  }
  known_ = true;
  return growths_;
}

// A key may hold anything, even "=" and ";". A counter ends at a ";" that a blank or the end
// follows.
std::size_t CounterList::itemEnd(std::string_view body, std::size_t at) const {
  for (std::size_t end = body.find(';', at); end != body.npos; end = body.find(';', end + 1)) {
    if (end + 1 == body.size() || body[end + 1] == ' ') return end + 1;
  }
  return body.size();
}

void CounterList::addUnchanged(std::string_view item, Counter& old) {
  old.found = true;
  const auto key = static_cast<std::size_t>(old.key.data() - old.item.data());
  counters_.push_back({item, item.substr(key, old.key.size()), old.figure, 0, false});
}

void CounterList::addParsed(std::string_view item) {
  std::string_view text = item;
  if (text.starts_with(' ')) text.remove_prefix(1);
  if (text.ends_with(';')) text.remove_suffix(1);
  if (text.ends_with(unit_)) text.remove_suffix(unit_.size());
  const std::size_t equals = text.rfind('=');
  if (equals == text.npos || equals == 0) return;
  std::int64_t figure = 0;
  const char* const last = text.data() + text.size();
  auto [parsed, error] = std::from_chars(text.data() + equals + 1, last, figure);
  if (figure > kMost) return;
  if (tenths_ && last - parsed == 2 && *parsed == '.' && parsed[1] >= '0' && parsed[1] <= '9') {
    figure = 10 * figure + (parsed[1] - '0');
    parsed = last;
  } else if (tenths_) {
    return;
  }
  if (error != std::errc() || parsed != last || figure < 0 || figure > kMost) return;
  const std::string_view key = text.substr(0, equals);
  counters_.push_back({item, key, figure, 0, false});
  if (!known_) return;
  std::int64_t amount = figure;
  if (Counter* const old = before(key)) {
    old->found = true;
    if (old->figure <= figure) amount -= old->figure;
  } else {
    amount -= std::min(lowestBefore_, figure);
  }
  if (amount <= 0) return;
  counters_.back().growth = amount;
  growths_.push_back({key, amount});
}

std::int64_t CounterList::gone() const {
  if (before_.size() >= most_) return 0;
  std::int64_t sum = 0;
  for (const Counter& counter : before_) sum += counter.found ? 0 : counter.figure;
  return sum;
}

std::vector<CounterList::Growth> CounterList::goneGrowths() const {
  std::vector<Growth> growths;
  if (before_.size() >= most_) return growths;
  for (const Counter& counter : before_) {
    if (!counter.found && counter.growth > 0) growths.push_back({counter.key, counter.growth});
  }
  return growths;
}

CounterList::Counter* CounterList::before(std::string_view key) {
  const std::size_t end = std::min(before_.size(), likely_ + kNear);
  for (std::size_t i = likely_; i < end; ++i) {
    if (before_[i].key == key) return &before_[i];
  }
  if (++missed_ <= kFew) {
    const auto found = std::ranges::find(before_, key, &Counter::key);
    return found == before_.end() ? nullptr : &*found;
  }
  if (index_.empty()) {
    for (std::size_t i = 0; i < before_.size(); ++i) index_.emplace(before_[i].key, i);
  }
  const auto found = index_.find(key);
  return found == index_.end() ? nullptr : &before_[found->second];
}

}  // namespace zorva

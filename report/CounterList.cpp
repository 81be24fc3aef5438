#include "report/CounterList.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace zorva {

const std::vector<CounterList::Growth>& CounterList::next(std::string_view body) {
  growths_.clear();
  std::swap(text_, textBefore_);
  std::swap(counters_, before_);
  index_.clear();
  likely_ = 0;
  text_.assign(body);
  read(text_);
  if (std::exchange(known_, true)) {
    std::int64_t lowest = 0;
    if (before_.size() >= most_) {
      lowest = std::ranges::min(before_, {}, &Counter::figure).figure;
    }
    for (const Counter& counter : counters_) {
      const Counter* const old = before(counter.key);
      std::int64_t amount = counter.figure;
      if (old == nullptr) {
        amount -= std::min(lowest, counter.figure);
      } else if (old->figure <= counter.figure) {
        amount -= old->figure;
      }
      if (amount > 0) growths_.push_back({counter.key, amount});
    }
  }
  return growths_;
}

// A key may hold anything, "=" and ";" too: a counter ends where a blank or the end follows ";".
void CounterList::read(std::string_view body) {
  counters_.clear();
  std::size_t at = 0;
  while (at < body.size()) {
    std::size_t end = body.find(';', at);
    while (end != body.npos && end + 1 < body.size() && body[end + 1] != ' ') {
      end = body.find(';', end + 1);
    }
    if (end == body.npos) end = body.size();
    std::string_view item = body.substr(at, end - at);
    at = end + 1;
    if (item.starts_with(' ')) item.remove_prefix(1);
    if (item.ends_with(unit_)) item.remove_suffix(unit_.size());
    const std::size_t equals = item.rfind('=');
    if (equals == item.npos || equals == 0) continue;
    std::int64_t figure = 0;
    const char* const last = item.data() + item.size();
    const auto [parsed, error] = std::from_chars(item.data() + equals + 1, last, figure);
    if (error != std::errc() || parsed != last || figure < 0) continue;
    counters_.push_back({item.substr(0, equals), figure});
  }
}

const CounterList::Counter* CounterList::before(std::string_view key) {
  if (likely_ < before_.size() && before_[likely_].key == key) return &before_[likely_++];
  if (index_.empty()) {
    for (std::size_t i = 0; i < before_.size(); ++i) index_.emplace(before_[i].key, i);
  }
  const auto found = index_.find(key);
  if (found == index_.end()) return nullptr;
  likely_ = found->second + 1;
  return &before_[found->second];
}

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zorva {

/// Entries that list counters, " KEY=FIGURE; KEY=FIGURE;". A counter only grows while the thing
/// that it counts exists. This computes the growth from one entry to the next.
class CounterList {
 public:
  struct Growth {
    std::string_view key;  ///< valid until the next entry
    std::int64_t amount;   ///< positive
  };

  /// `unit` follows each figure. A list of `most` counters may be incomplete: missing counters are
  /// taken to have been at most as high as the lowest one in it. Figures with a digit after the
  /// point ("12.5") are counted in tenths.
  explicit CounterList(std::string_view unit, std::size_t most = SIZE_MAX, bool tenths = false)
      : unit_(unit), most_(most), tenths_(tenths) {}

  /// Reads the next entry's body. Returns the growths since the previous entry; empty if there was
  /// none. A counter that is new, or lower than before, is counted from 0.
  const std::vector<Growth>& next(std::string_view body);

  /// The sum of the last figures of all counters that the latest entry has no longer; 0 if the list
  /// before it may have been incomplete.
  std::int64_t gone() const;

  /// The counters that the latest entry has no longer, with their growth up to the entry before;
  /// empty if that may have been incomplete.
  std::vector<Growth> goneGrowths() const;

  /// Treats the next entry as the first.
  void forget() { known_ = false; }

 private:
  struct Counter {
    std::string_view item;  // " KEY=FIGURE;"
    std::string_view key;
    std::int64_t figure;
    std::int64_t growth;  // since the entry before
    bool found;           // in the next entry
  };

  std::size_t itemEnd(std::string_view body, std::size_t at) const;
  void addUnchanged(std::string_view item, Counter& old);
  void addParsed(std::string_view item);
  Counter* before(std::string_view key);

  std::string_view unit_;
  std::size_t most_;
  bool tenths_;
  bool known_ = false;
  std::array<std::string, 2> texts_;  // the counters point into these: not to be moved
  std::size_t now_ = 0;               // the current one of these
  std::vector<Counter> counters_;
  std::vector<Counter> before_;
  std::int64_t lowestBefore_ = 0;
  std::size_t likely_ = 0;  // where the next key was before; the order rarely changes
  std::size_t missed_ = 0;
  std::unordered_map<std::string_view, std::size_t> index_;  // of before_; built when needed
  std::vector<Growth> growths_;
};

}  // namespace zorva

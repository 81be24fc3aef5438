#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zorva {

/// Entries that list counters, " KEY=FIGURE; KEY=FIGURE;", each of which only grows while what it
/// counts is there: by how much, from one entry to the next.
class CounterList {
 public:
  struct Growth {
    std::string_view key;  ///< holds until the next entry
    std::int64_t amount;   ///< positive
  };

  /// `unit` stands behind the figures. A list of `most` counters may lack some: those are taken to
  /// have been at most as high as the lowest that it has.
  explicit CounterList(std::string_view unit, std::size_t most = SIZE_MAX)
      : unit_(unit), most_(most) {}

  /// The next entry's body. The growths since the one before, of which nothing when there is none.
  /// What is new, or lower than it was, is counted from 0.
  const std::vector<Growth>& next(std::string_view body);

  /// The next entry is the first again.
  void forget() { known_ = false; }

 private:
  struct Counter {
    std::string_view item;  // " KEY=FIGURE;"
    std::string_view key;
    std::int64_t figure;
    bool found;  // in the entry that comes next
  };

  std::size_t itemEnd(std::string_view body, std::size_t at) const;
  void addUnchanged(std::string_view item, Counter& old);
  void addParsed(std::string_view item);
  Counter* before(std::string_view key);

  std::string_view unit_;
  std::size_t most_;
  bool known_ = false;
  std::array<std::string, 2> texts_;  // which the counters point into: not to be moved
  std::size_t now_ = 0;               // of these
  std::vector<Counter> counters_;
  std::vector<Counter> before_;
  std::int64_t lowestBefore_ = 0;
  std::size_t likely_ = 0;  // where the next key stood before, as the order is much the same
  std::size_t missed_ = 0;
  std::unordered_map<std::string_view, std::size_t> index_;  // of those before, made when needed
  std::vector<Growth> growths_;
};

}  // namespace zorva

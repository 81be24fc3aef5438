// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorva {

class SimFaultPoint;

/// The results that a failing operation may return.
struct SimFaultResults {
  std::int64_t usual;  ///< if a fault gives none
  std::int64_t least = INT32_MIN;
  std::int64_t most = UINT32_MAX;  ///< codes may be written as signed or unsigned
  bool code = true;                ///< 0 means success, so a failing operation cannot return it
};

/// Every operation of a simulated service that can be made to fail, by name.
class SimFaults {
 public:
  enum class Outcome {
    Armed,
    UnknownPoint,
    NoResult,     ///< a result was given for a point whose operation has none
    WrongResult,  ///< the result is out of range, or means success
  };

  /// Makes `times` calls of the operation fail, after the next `after` ones; replaces a fault armed
  /// before. Without a result, the point's usual one is returned.
  Outcome fail(const std::string& point, int times = 1,
               std::optional<std::int64_t> result = std::nullopt, int after = 0);

  /// Disarms every fault.
  void clear();

  /// The names of all points, in alphabetical order.
  std::vector<std::string> names() const;
  bool contains(const std::string& point) const { return points_.contains(point); }
  /// The number of calls of the operation so far; 0 for an unknown point.
  int calls(const std::string& point) const;
  /// The results that the point's operation may return; nothing if it has none, or if there is no
  /// such point.
  std::optional<SimFaultResults> results(const std::string& point) const;

 private:
  friend class SimFaultPoint;
  std::map<std::string, SimFaultPoint*> points_;  // each removes itself in its destructor
};

/// One operation of a simulated service that can be made to fail, named "service.operation". The
/// service owns it, and checks it at the beginning of the operation.
class SimFaultPoint {
 public:
  /// An operation that just fails.
  SimFaultPoint(SimFaults& faults, std::string name);
  /// An operation that returns a result code when it fails: this one unless a fault gives another.
  SimFaultPoint(SimFaults& faults, std::string name, std::int64_t usualResult)
      : SimFaultPoint(faults, std::move(name), SimFaultResults{usualResult}) {}
  /// An operation that returns a wrong figure.
  SimFaultPoint(SimFaults& faults, std::string name, SimFaultResults results);
  SimFaultPoint(const SimFaultPoint&) = delete;
  SimFaultPoint& operator=(const SimFaultPoint&) = delete;
  ~SimFaultPoint();

  /// Uses up one armed fault. Returns true if this call must fail.
  bool strikes();
  /// The same for operations with a result: the result to return, or nothing if this call must not
  /// fail.
  template <typename Result>
  std::optional<Result> struckResult() {
    if (!strikes()) return std::nullopt;
    return static_cast<Result>(result_);
  }

 private:
  friend class SimFaults;
  SimFaults& faults_;
  std::string name_;
  std::optional<SimFaultResults> results_;
  std::int64_t result_ = 0;
  int calls_ = 0;
  int passing_ = 0;  // number of calls that succeed before the fault takes effect
  int remaining_ = 0;
};

}  // namespace zorva

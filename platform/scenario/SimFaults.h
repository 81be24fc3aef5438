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

/// What a failing operation may answer as its result.
struct SimFaultResults {
  std::int64_t usual;  ///< when a fault names none
  std::int64_t least = INT32_MIN;
  std::int64_t most = UINT32_MAX;  ///< codes may be written with or without a sign
  bool code = true;                ///< 0 is success, and so no answer of a failing operation
};

/// Every place where a simulated service can be made to fail, by name.
class SimFaults {
 public:
  enum class Outcome {
    Armed,
    UnknownPoint,
    NoResult,     ///< a result was given for a point whose operation has none
    WrongResult,  ///< the result is out of range, or says success
  };

  /// Lets `times` calls of the operation fail, after the next `after` ones, and forgets what was
  /// armed before. Without a result the point's usual one is answered.
  Outcome fail(const std::string& point, int times = 1,
               std::optional<std::int64_t> result = std::nullopt, int after = 0);

  /// The names of all points, in alphabetical order.
  std::vector<std::string> names() const;
  bool contains(const std::string& point) const { return points_.contains(point); }
  /// How often the operation has been called so far; 0 for a point that is not there.
  int calls(const std::string& point) const;
  /// What the point's operation may answer; nothing when it has no result, or there is no such
  /// point.
  std::optional<SimFaultResults> results(const std::string& point) const;

 private:
  friend class SimFaultPoint;
  std::map<std::string, SimFaultPoint*> points_;  // each takes itself off in its destructor
};

/// One operation of a simulated service that can be made to fail, named "service.operation". The
/// service holds it, and asks it at the beginning of the operation.
class SimFaultPoint {
 public:
  /// An operation that just fails.
  SimFaultPoint(SimFaults& faults, std::string name);
  /// An operation that answers a result code when it fails, this one unless another is asked for.
  SimFaultPoint(SimFaults& faults, std::string name, std::int64_t usualResult)
      : SimFaultPoint(faults, std::move(name), SimFaultResults{usualResult}) {}
  /// An operation that answers a wrong figure.
  SimFaultPoint(SimFaults& faults, std::string name, SimFaultResults results);
  SimFaultPoint(const SimFaultPoint&) = delete;
  SimFaultPoint& operator=(const SimFaultPoint&) = delete;
  ~SimFaultPoint();

  /// Uses up one armed fault: true when this call has to fail.
  bool strikes();
  /// The same for operations with a result: what to answer, or nothing when this call goes on as
  /// usual.
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
  int passing_ = 0;  // that go on as usual before the fault strikes
  int remaining_ = 0;
};

}  // namespace zorva

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

class SimFaultPoint;

/// Every place where a simulated service can be made to fail, by name.
class SimFaults {
 public:
  enum class Outcome {
    Armed,
    UnknownPoint,
    NoResultCode,  ///< a result code was given for a point whose operation has none
  };

  /// Lets `times` calls of the operation fail, after the next `after` ones, and forgets what was
  /// armed before. Without a result code the point's own one is answered.
  Outcome fail(const std::string& point, int times = 1,
               std::optional<std::int64_t> result = std::nullopt, int after = 0);

  /// Forgets every armed fault.
  void clear();

  /// The names of all points, in alphabetical order.
  std::vector<std::string> names() const;
  bool contains(const std::string& point) const { return points_.contains(point); }
  /// How often the operation has been called so far; 0 for a point that is not there.
  int calls(const std::string& point) const;
  /// Whether the point's operation answers a result code.
  bool hasResultCode(const std::string& point) const;

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
  SimFaultPoint(SimFaults& faults, std::string name, std::int64_t usualResult);
  SimFaultPoint(const SimFaultPoint&) = delete;
  SimFaultPoint& operator=(const SimFaultPoint&) = delete;
  ~SimFaultPoint();

  /// Uses up one armed fault: true when this call has to fail.
  bool strikes();
  /// The same for operations with a result code: the code to answer, or nothing when this call goes
  /// on as usual.
  template <typename Result>
  std::optional<Result> struckResult() {
    if (!strikes()) return std::nullopt;
    return static_cast<Result>(result_);
  }

 private:
  friend class SimFaults;
  SimFaults& faults_;
  std::string name_;
  std::optional<std::int64_t> usualResult_;
  std::int64_t result_ = 0;
  int calls_ = 0;
  int passing_ = 0;  // that go on as usual before the fault strikes
  int remaining_ = 0;
};

}  // namespace zorva

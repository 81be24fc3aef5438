#include "platform/scenario/SimFaults.h"

#include <stdexcept>
#include <utility>

namespace zorva {

SimFaults::Outcome SimFaults::fail(const std::string& point, int times,
                                   std::optional<std::int64_t> result, int after) {
  const auto found = points_.find(point);
  if (found == points_.end()) return Outcome::UnknownPoint;
  SimFaultPoint& it = *found->second;
  if (result && !it.usualResult_) return Outcome::NoResultCode;
  it.passing_ = after;
  it.remaining_ = times;
  it.result_ = result.value_or(it.usualResult_.value_or(0));
  return Outcome::Armed;
}

void SimFaults::clear() {
  for (auto& [name, point] : points_) point->remaining_ = 0;
}

std::vector<std::string> SimFaults::names() const {
  std::vector<std::string> names;
  for (const auto& [name, point] : points_) names.push_back(name);
  return names;
}

int SimFaults::calls(const std::string& point) const {
  const auto found = points_.find(point);
  return found == points_.end() ? 0 : found->second->calls_;
}

bool SimFaults::hasResultCode(const std::string& point) const {
  const auto found = points_.find(point);
  return found != points_.end() && found->second->usualResult_.has_value();
}

SimFaultPoint::SimFaultPoint(SimFaults& faults, std::string name)
    : faults_(faults), name_(std::move(name)) {
  if (!faults_.points_.emplace(name_, this).second) {
    throw std::logic_error("two fault points are named " + name_);
  }
}

SimFaultPoint::SimFaultPoint(SimFaults& faults, std::string name, std::int64_t usualResult)
    : SimFaultPoint(faults, std::move(name)) {
  usualResult_ = usualResult;
}

SimFaultPoint::~SimFaultPoint() {
  faults_.points_.erase(name_);
}

bool SimFaultPoint::strikes() {
  ++calls_;
  if (remaining_ == 0) return false;
  if (passing_ > 0) {
    --passing_;
    return false;
  }
  --remaining_;
  return true;
}

}  // namespace zorva

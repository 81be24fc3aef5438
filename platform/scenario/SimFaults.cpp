// SPDX-License-Identifier: Apache-2.0
#include "platform/scenario/SimFaults.h"

#include <stdexcept>
#include <utility>

namespace zorva {

SimFaults::Outcome SimFaults::fail(const std::string& point, int times,
                                   std::optional<std::int64_t> result, int after) {
  const auto found = points_.find(point);
  if (found == points_.end()) return Outcome::UnknownPoint;
  SimFaultPoint& it = *found->second;
  const auto& results = it.results_;
  if (result && !results) return Outcome::NoResult;
  if (result &&
      (*result < results->least || *result > results->most || (results->code && *result == 0))) {
    return Outcome::WrongResult;
  }
  it.passing_ = after;
  it.remaining_ = times;
  it.result_ = result.value_or(results ? results->usual : 0);
  return Outcome::Armed;
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

std::optional<SimFaultResults> SimFaults::results(const std::string& point) const {
  const auto found = points_.find(point);
  return found == points_.end() ? std::nullopt : found->second->results_;
}

SimFaultPoint::SimFaultPoint(SimFaults& faults, std::string name)
    : faults_(faults), name_(std::move(name)) {
  if (!faults_.points_.emplace(name_, this).second) {
    throw std::logic_error("two fault points are named " + name_);
  }
}

SimFaultPoint::SimFaultPoint(SimFaults& faults, std::string name, SimFaultResults results)
    : SimFaultPoint(faults, std::move(name)) {
  results_ = results;
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

// SPDX-License-Identifier: Apache-2.0
#include "report/answer/CostModel.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace zorva {
namespace {

// Shorter intervals teach nothing.
constexpr LogTime kShortest = 20;
// For each thing to be learned, so many intervals at least.
constexpr std::size_t kIntervalsPerColumn = 3;
// Joules by which a processor's counter may be off from the moment of the reading.
constexpr double kJoules = 2;
// Readings are taken to be at least so much of what they may be off.
constexpr double kLeastMisfit = 0.25;
// What may be off by more than this share, and by more than 2 * kTiny percent, is not told apart
// from what it comes together with.
constexpr double kTooUncertain = 0.8;
// By what share intervals differ, if there are too few to tell.
constexpr double kFewScatter = 0.3;
// Of the log, to be compared with each other.
constexpr std::size_t kStretches = 20;

// How far the log's own times disagree: the covariance by leaving out one stretch of it after the
// other (the jackknife). It also has what none of the columns tells, and lasts for long.
std::vector<double> disagreement(const std::vector<Observation>& all, std::size_t columns) {
  std::vector<double> covariance(columns * columns);
  const std::size_t stretches = std::min<std::size_t>(kStretches, all.size() / (columns + 1));
  if (stretches < 3) return covariance;
  std::vector<std::vector<double>> fits;
  std::vector<double> mean(columns);
  for (std::size_t left = 0; left < stretches; ++left) {
    std::vector<Observation> rest;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (i * stretches / all.size() != left) rest.push_back(all[i]);
    }
    fits.push_back(leastSquares(rest, columns).coefficients);
    for (std::size_t i = 0; i < columns; ++i) {
      mean[i] += fits.back()[i] / static_cast<double>(stretches);
    }
  }
  const double factor = static_cast<double>(stretches - 1) / static_cast<double>(stretches);
  for (const std::vector<double>& fit : fits) {
    for (std::size_t i = 0; i < columns; ++i) {
      for (std::size_t k = 0; k < columns; ++k) {
        covariance[i * columns + k] += factor * (fit[i] - mean[i]) * (fit[k] - mean[k]);
      }
    }
  }
  return covariance;
}

}  // namespace

std::vector<double> CostModel::valuesOf(const PowerInterval& interval) {
  std::vector<double> values(kColumns);
  values[kAsleep] = static_cast<double>(interval.asleep);
  values[kAwake] = static_cast<double>(interval.awake());
  values[kDisplay] = interval.brightness;
  values[kCpu] = interval.cpuKnown ? interval.likelyCpu() : 0;
  values[kWifi] = interval.wifiBytes / 1e6;
  values[kModem] = interval.modemBytes / 1e6;
  values[kCall] = static_cast<double>(interval.call);
  values[kAudio] = static_cast<double>(interval.audio);
  return values;
}

CostModel::CostModel(std::vector<const PowerInterval*> intervals, double reading,
                     std::optional<double> wattHoursPerPercent)
    : intervals_(std::move(intervals)),
      reading_(reading),
      group_(kColumns),
      groupErrors_(kColumns) {
  std::iota(group_.begin(), group_.end(), 0);
  if (wattHoursPerPercent) {
    percentPerJoule_ = 1 / (3600 * *wattHoursPerPercent);
    learnProcessors();
  }
  choose();
  known_ = !teachers_.empty() &&
           teachers_.size() >= static_cast<std::size_t>(std::ranges::count(learned_, true));
  if (known_) learn();
  intervals_.clear();
  teachers_.clear();
}

// What the processors use while awake, and what a CPU second adds.
void CostModel::learnProcessors() {
  std::vector<Observation> observations;
  LogTime counted = 0;
  LogTime all = 0;
  for (const PowerInterval* interval : intervals_) {
    all += interval->awake();
    if (!interval->joules || !interval->cpuKnown) continue;
    counted += interval->awake();
    observations.push_back({{static_cast<double>(interval->awake()), interval->likelyCpu()},
                            *interval->joules,
                            kJoules + kSpread * *interval->joules});
  }
  // All of the log, or nearly: otherwise the parts of different stretches could not be compared.
  if (observations.size() < 2 * kIntervalsPerColumn || counted * 10 < all * 9) return;
  processors_ = leastSquares(observations, 2);
}

std::vector<double> CostModel::sums() const {
  std::vector<double> sums(kColumns);
  for (const PowerInterval* interval : intervals_) {
    const std::vector<double> values = valuesOf(*interval);
    for (std::size_t i = 0; i < kColumns; ++i) sums[i] += values[i];
  }
  return sums;
}

// What can be learned, and from which intervals.
void CostModel::choose() {
  LogTime cpuKnown = 0;
  LogTime all = 0;
  for (const PowerInterval* interval : intervals_) {
    all += interval->seconds();
    if (interval->cpuKnown) cpuKnown += interval->seconds();
  }
  const std::vector<double> used = sums();
  for (std::size_t i = 0; i < kColumns; ++i) learned_[i] = used[i] > 0;
  const bool byCpu = !processors_ && cpuKnown * 10 >= all * 8;
  if (!byCpu) learned_[kCpu] = false;
  for (const PowerInterval* interval : intervals_) {
    if (interval->seconds() < kShortest) continue;
    if ((byCpu && !interval->cpuKnown) || (processors_ && !interval->joules)) continue;
    teachers_.push_back(interval);
  }
  // What is least used is not learned where there are too few intervals for all.
  for (const Column column : {kAudio, kCall, kModem, kWifi, kDisplay, kCpu}) {
    const auto count = static_cast<std::size_t>(std::ranges::count(learned_, true));
    if (teachers_.size() < kIntervalsPerColumn * count + 1) learned_[column] = false;
  }
}

void CostModel::learn() {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (learned_[i]) columns.push_back(i);
  }
  const std::size_t size = columns.size();
  std::vector<Observation> observations;
  for (const PowerInterval* interval : teachers_) {
    const std::vector<double> values = valuesOf(*interval);
    Observation& observation = observations.emplace_back();
    for (const std::size_t column : columns) observation.values.push_back(values[column]);
    observation.target = interval->used;
    if (processors_) observation.target -= percentPerJoule_ * *interval->joules;
    observation.error = std::hypot(reading_, kSpread * interval->used);
  }
  const LeastSquares part = leastSquares(observations, size);
  // How well the intervals agree tells how good the readings are, down to a limit.
  const double least = std::max(1.0, kLeastMisfit / std::max(part.misfit, 1e-6));
  fit_.coefficients.assign(kColumns, 0);
  fit_.covariance.assign(std::size_t{kColumns} * kColumns, 0);
  for (std::size_t i = 0; i < size; ++i) {
    fit_.coefficients[columns[i]] = part.coefficients[i];
    for (std::size_t k = 0; k < size; ++k) {
      fit_.covariance[columns[i] * kColumns + columns[k]] = part.covarianceOf(i, k) * least * least;
    }
  }
  double missed = 0;
  double used = 0;
  for (const Observation& observation : observations) {
    double left = observation.target;
    for (std::size_t k = 0; k < size; ++k) left -= part.coefficients[k] * observation.values[k];
    missed += std::fabs(left);
    used += std::fabs(observation.target);
  }
  scatter_ = used > 0 ? std::max(kSpread, missed / used) : kSpread;
  if (teachers_.size() < kIntervalsPerColumn * size) scatter_ = std::max(scatter_, kFewScatter);
  const std::vector<double> all = sums();
  while (joinTwo(all)) {
  }
  // What the log's stretches disagree about makes a part uncertain, but is no reason to join it.
  const std::vector<double> apart = disagreement(observations, size);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) {
      fit_.covariance[columns[i] * kColumns + columns[k]] += apart[i * size + k];
    }
  }
  setGroupErrors(all);
}

double CostModel::groupCovariance(const std::vector<double>& sums, std::size_t one,
                                  std::size_t other) const {
  double sum = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    for (std::size_t k = 0; k < kColumns; ++k) {
      if (group_[i] != one || group_[k] != other) continue;
      sum += fit_.covarianceOf(i, k) * sums[i] * sums[k];
    }
  }
  return sum;
}

double CostModel::groupPercent(const std::vector<double>& sums, std::size_t group) const {
  double percent = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (group_[i] == group) percent += fit_.coefficients[i] * sums[i];
  }
  return percent;
}

// Joins the least certain group with the one that it is hardest to tell from. False if all are
// certain enough.
bool CostModel::joinTwo(const std::vector<double>& sums) {
  std::size_t worst = kColumns;
  double most = 2 * kTiny;
  for (std::size_t g = kAwake; g < kColumns; ++g) {
    if (!learned_[g] || group_[g] != g) continue;
    const double error = kErrors * std::sqrt(std::max(0.0, groupCovariance(sums, g, g)));
    if (error <= most || error <= kTooUncertain * groupPercent(sums, g)) continue;
    most = error;
    worst = g;
  }
  std::size_t partner = kColumns;
  double strongest = 0;
  for (std::size_t g = kAwake; worst < kColumns && g < kColumns; ++g) {
    if (!learned_[g] || group_[g] != g || g == worst) continue;
    const double common =
        groupCovariance(sums, worst, g) / std::sqrt(std::max(1e-12, groupCovariance(sums, g, g)));
    if (common < strongest) {
      strongest = common;
      partner = g;
    }
  }
  if (partner == kColumns) return false;
  const std::size_t first = std::min(worst, partner);
  for (std::size_t& of : group_) {
    if (of == worst || of == partner) of = first;
  }
  return true;
}

void CostModel::setGroupErrors(const std::vector<double>& sums) {
  for (std::size_t g = 0; g < kColumns; ++g) {
    const double percent = groupPercent(sums, g);
    if (percent <= 0) continue;
    const double error = kErrors * std::sqrt(std::max(0.0, groupCovariance(sums, g, g)));
    groupErrors_[g] = std::hypot(error / percent, scatter_);
  }
}

double CostModel::error(std::size_t column, double value) const {
  return kErrors * std::sqrt(std::max(0.0, fit_.covarianceOf(column, column))) * value;
}

bool CostModel::alone(std::size_t column) const {
  std::size_t members = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    members += learned_[i] && group_[i] == group_[column] ? 1 : 0;
  }
  return members == 1;
}

std::optional<CostModel::Processors> CostModel::processors(const PowerInterval& interval) const {
  if (!processors_ || !interval.joules) return std::nullopt;
  const double idle = processors_->coefficients[0] * static_cast<double>(interval.awake());
  const double busy = processors_->coefficients[1] * interval.likelyCpu();
  const double percent = percentPerJoule_ * *interval.joules;
  const double share = idle + busy > 0 ? busy / (idle + busy) : 1;
  const double error = kErrors * std::sqrt(std::max(0.0, processors_->covarianceOf(0, 0))) *
                       static_cast<double>(interval.awake()) * percentPerJoule_;
  return Processors{percent * (1 - share), percent * share, error};
}

}  // namespace zorva

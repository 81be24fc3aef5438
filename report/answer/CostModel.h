// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "report/analyse/PowerIntervals.h"
#include "report/answer/LeastSquares.h"

namespace zorva {

/// What things cost on one device, in percent of its full battery: learned from a log's intervals
/// by least squares.
class CostModel {
 public:
  /// What an interval has of each thing that uses the battery: seconds asleep and awake, of the lit
  /// display times its brightness, of CPU time, millions of bytes, seconds of calls and of audio.
  enum Column { kAsleep, kAwake, kDisplay, kCpu, kWifi, kModem, kCall, kAudio, kColumns };
  static std::vector<double> valuesOf(const PowerInterval& interval);

  /// What is used for no reason that is seen, as a share: two intervals never use quite the same.
  static constexpr double kSpread = 0.03;
  /// Two standard errors: 95 of 100 are nearer.
  static constexpr double kErrors = 2;
  /// Percent of the full battery that do not matter.
  static constexpr double kTiny = 0.5;

  /// `reading` is the percent by which the difference of two levels may be off. With
  /// `wattHoursPerPercent`, energy counters are used where a log has them.
  CostModel(std::vector<const PowerInterval*> intervals, double reading,
            std::optional<double> wattHoursPerPercent);

  /// False: there is too little to learn from, and nothing below is known.
  bool known() const { return known_; }
  bool has(std::size_t column) const { return learned_[column]; }
  /// Percent for one of a column.
  double cost(std::size_t column) const { return fit_.coefficients[column]; }
  /// Percent by which the cost of so much may be off, because of the readings.
  double error(std::size_t column, double value) const;
  /// By what share the intervals differ from what is learned.
  double scatter() const { return scatter_; }
  /// The first of the columns that are known only together with this one; itself if it is alone.
  std::size_t group(std::size_t column) const { return group_[column]; }
  bool alone(std::size_t column) const;
  /// By what share of its percent a group may be off.
  double groupError(std::size_t group) const { return groupErrors_[group]; }

  /// What an interval's processors used, by their own counters.
  struct Processors {
    double idle;   ///< percent
    double busy;   ///< with CPU time
    double error;  ///< of either, percent: how far what they are told apart by may be off
  };
  bool counted() const { return processors_.has_value(); }
  /// Empty where the counters say nothing.
  std::optional<Processors> processors(const PowerInterval& interval) const;

 private:
  void learnProcessors();
  void choose();
  void learn();
  std::vector<double> sums() const;
  double groupCovariance(const std::vector<double>& sums, std::size_t one, std::size_t other) const;
  double groupPercent(const std::vector<double>& sums, std::size_t group) const;
  bool joinTwo(const std::vector<double>& sums);
  void setGroupErrors(const std::vector<double>& sums);

  std::vector<const PowerInterval*> intervals_;
  std::vector<const PowerInterval*> teachers_;
  double reading_;
  std::vector<bool> learned_ = std::vector<bool>(kColumns);
  LeastSquares fit_;  // percent per unit of each column
  bool known_ = false;
  double scatter_ = 0;
  // Of the processors' counters, in joules: per second awake and per CPU second.
  std::optional<LeastSquares> processors_;
  double percentPerJoule_ = 0;
  std::vector<std::size_t> group_;
  std::vector<double> groupErrors_;
};

}  // namespace zorva

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace zorva {

/// Non-negative coefficients, one for each column, whose weighted sum of columns is nearest to the
/// targets.
struct LeastSquares {
  std::vector<double> coefficients;
  /// Their covariance, row by row: how far they may be off, and which of them only together are
  /// known.
  std::vector<double> covariance;
  /// The root of the mean square by which the targets were missed, in units of their errors.
  double misfit = 0;

  double covarianceOf(std::size_t one, std::size_t other) const {
    return covariance[one * coefficients.size() + other];
  }
};

/// An equation: a target that is known up to an error, and a value for each column.
struct Observation {
  std::vector<double> values;
  double target = 0;
  double error = 1;  ///< positive, in the target's unit
};

/// By Lawson and Hanson's method of active sets. All observations have as many values. A column
/// without values gets 0.
LeastSquares leastSquares(const std::vector<Observation>& observations, std::size_t columns);

}  // namespace zorva

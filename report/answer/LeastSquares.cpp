// SPDX-License-Identifier: Apache-2.0
#include "report/answer/LeastSquares.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace zorva {
namespace {

// Relative to the diagonal, which is 1: columns that are alike up to this are not told apart, and
// their covariance is very large, but finite.
constexpr double kRidge = 1e-7;

// A square matrix, row by row.
struct Matrix {
  explicit Matrix(std::size_t n) : size(n), cells(n * n) {}
  double& at(std::size_t row, std::size_t column) { return cells[row * size + column]; }
  double at(std::size_t row, std::size_t column) const { return cells[row * size + column]; }
  std::size_t size;
  std::vector<double> cells;
};

// The inverse of a positive definite matrix, by elimination.
Matrix inverseOf(Matrix matrix) {
  const std::size_t n = matrix.size;
  Matrix inverse(n);
  for (std::size_t i = 0; i < n; ++i) inverse.at(i, i) = 1;
  for (std::size_t i = 0; i < n; ++i) {
    const double pivot = matrix.at(i, i);
    for (std::size_t k = 0; k < n; ++k) {
      matrix.at(i, k) /= pivot;
      inverse.at(i, k) /= pivot;
    }
    for (std::size_t row = 0; row < n; ++row) {
      const double factor = matrix.at(row, i);
      if (row == i || factor == 0) continue;
      for (std::size_t k = 0; k < n; ++k) {
        matrix.at(row, k) -= factor * matrix.at(i, k);
        inverse.at(row, k) -= factor * inverse.at(i, k);
      }
    }
  }
  return inverse;
}

// The unconstrained solution with only some of the columns; 0 for the others.
std::vector<double> solve(const Matrix& normal, const std::vector<double>& right,
                          const std::vector<bool>& used) {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (used[i]) columns.push_back(i);
  }
  Matrix part(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
      part.at(i, k) = normal.at(columns[i], columns[k]);
    }
  }
  const Matrix inverse = inverseOf(std::move(part));
  std::vector<double> solution(used.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
      solution[columns[i]] += inverse.at(i, k) * right[columns[k]];
    }
  }
  return solution;
}

std::vector<double> nonNegative(const Matrix& normal, const std::vector<double>& right) {
  const std::size_t n = normal.size;
  std::vector<bool> used(n);
  std::vector<double> x(n);
  for (std::size_t round = 0; round < 3 * n; ++round) {
    // The column that improves the fit most.
    std::optional<std::size_t> best;
    double steepest = 1e-9;
    for (std::size_t i = 0; i < n; ++i) {
      double slope = right[i];
      for (std::size_t k = 0; k < n; ++k) slope -= normal.at(i, k) * x[k];
      if (used[i] || slope <= steepest) continue;
      best = i;
      steepest = slope;
    }
    if (!best) break;
    used[*best] = true;
    for (;;) {
      const std::vector<double> next = solve(normal, right, used);
      // Goes towards the solution as far as nothing becomes negative.
      double step = 1;
      for (std::size_t i = 0; i < n; ++i) {
        if (used[i] && next[i] < 0) step = std::min(step, x[i] / (x[i] - next[i]));
      }
      for (std::size_t i = 0; i < n; ++i) x[i] += step * (next[i] - x[i]);
      if (step >= 1) break;
      for (std::size_t i = 0; i < n; ++i) {
        if (used[i] && x[i] <= 1e-12) {
          used[i] = false;
          x[i] = 0;
        }
      }
    }
  }
  return x;
}

}  // namespace

LeastSquares leastSquares(const std::vector<Observation>& observations, std::size_t columns) {
  Matrix normal(columns);
  std::vector<double> right(columns);
  for (const Observation& each : observations) {
    const double weight = 1 / (each.error * each.error);
    for (std::size_t i = 0; i < columns; ++i) {
      right[i] += weight * each.values[i] * each.target;
      for (std::size_t k = 0; k < columns; ++k) {
        normal.at(i, k) += weight * each.values[i] * each.values[k];
      }
    }
  }
  // Columns have different units: scaled, the diagonal is 1.
  std::vector<double> scale(columns);
  for (std::size_t i = 0; i < columns; ++i) {
    scale[i] = normal.at(i, i) > 0 ? 1 / std::sqrt(normal.at(i, i)) : 0;
  }
  for (std::size_t i = 0; i < columns; ++i) {
    right[i] *= scale[i];
    for (std::size_t k = 0; k < columns; ++k) normal.at(i, k) *= scale[i] * scale[k];
    normal.at(i, i) = 1 + kRidge;
  }
  LeastSquares fit;
  fit.coefficients = nonNegative(normal, right);
  double squares = 0;
  for (std::size_t i = 0; i < columns; ++i) fit.coefficients[i] *= scale[i];
  for (const Observation& each : observations) {
    double missed = each.target;
    for (std::size_t i = 0; i < columns; ++i) missed -= fit.coefficients[i] * each.values[i];
    squares += missed * missed / (each.error * each.error);
  }
  const auto count = static_cast<double>(observations.size());
  const double free = std::max(1.0, count - static_cast<double>(columns));
  fit.misfit = std::sqrt(squares / free);
  fit.covariance = inverseOf(normal).cells;
  for (std::size_t i = 0; i < columns; ++i) {
    for (std::size_t k = 0; k < columns; ++k) {
      fit.covariance[i * columns + k] *= squares / free * scale[i] * scale[k];
    }
  }
  return fit;
}

}  // namespace zorva

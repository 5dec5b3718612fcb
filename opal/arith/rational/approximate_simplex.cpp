#include "opal/arith/rational/approximate_simplex.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

// Minimises the sum of violations. Each step moves one nonbasic variable as far as the sum
// falls; on the way rows may pass their bounds, from violated to satisfied and the other
// way round, and the row at the last useful bound leaves the basis. When no move makes the
// sum fall, the violated bounds and the bounds at which the nonbasic variables stand are a
// contradiction: the gradient is their combination.

namespace opal::host {

namespace {

constexpr double TOLERANCE = 1e-9;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr std::size_t NONE = SIZE_MAX;

}  // namespace

ApproximateSimplex::ApproximateSimplex(std::size_t rows, std::size_t columns,
                                       Limits& limits)
    : rows_(rows),
      columns_(columns),
      limits_(limits),
      coeffs_(rows * columns, 0.0),
      lower_(rows + columns, -INFINITE),
      upper_(rows + columns, INFINITE),
      values_(rows + columns, 0.0),
      basic_(rows),
      nonbasic_(columns),
      gradient_(columns) {
  std::iota(nonbasic_.begin(), nonbasic_.end(), std::size_t{0});
  std::iota(basic_.begin(), basic_.end(), columns);
}

void ApproximateSimplex::set_bounds(std::size_t var, double lower, double upper) {
  lower_[var] = lower;
  upper_[var] = upper;
}

ApproximateSimplex::Verdict ApproximateSimplex::solve() {
  for (const std::size_t var : nonbasic_)
    values_[var] = std::max(lower_[var], std::min(upper_[var], 0.0));
  for (std::size_t r = 0; r < rows_; ++r)
    for (std::size_t c = 0; c < columns_; ++c)
      values_[basic_[r]] += coeff(r, c) * values_[nonbasic_[c]];
  const std::size_t most_steps = 100 + 10 * (rows_ + columns_);
  for (std::size_t step = 0; step < most_steps; ++step) {
    limits_.look();
    if (!find_gradient()) return Verdict::FEASIBLE;
    const std::size_t column = choose_column();
    if (column == NONE) {
      collect_sides();
      return Verdict::INFEASIBLE;
    }
    advance(column);
  }
  return Verdict::UNKNOWN;
}

// -1 below the lower bound, 1 above the upper one, else 0.
int ApproximateSimplex::violation(std::size_t var) const {
  const double value = values_[var];
  const double tolerance = TOLERANCE * (1 + std::fabs(value));
  if (value < lower_[var] - tolerance) return -1;
  return value > upper_[var] + tolerance ? 1 : 0;
}

// Answers whether there is a violation.
bool ApproximateSimplex::find_gradient() {
  std::fill(gradient_.begin(), gradient_.end(), 0.0);
  bool found = false;
  for (std::size_t r = 0; r < rows_; ++r) {
    const int side = violation(basic_[r]);
    if (side == 0) continue;
    found = true;
    const double* const row = &coeffs_[r * columns_];
    for (std::size_t c = 0; c < columns_; ++c)
      gradient_[c] -= side * row[c];
  }
  return found;
}

std::size_t ApproximateSimplex::choose_column() const {
  std::size_t best = NONE;
  double steepest = TOLERANCE;
  for (std::size_t c = 0; c < columns_; ++c) {
    const std::size_t var = nonbasic_[c];
    if (std::fabs(gradient_[c]) <= steepest || lower_[var] == upper_[var]) continue;
    if (gradient_[c] > 0 ? values_[var] < upper_[var] : values_[var] > lower_[var]) {
      best = c;
      steepest = std::fabs(gradient_[c]);
    }
  }
  return best;
}

void ApproximateSimplex::find_breakpoints(std::size_t column, double direction) {
  breakpoints_.clear();
  for (std::size_t r = 0; r < rows_; ++r) {
    const double rate = coeff(r, column) * direction;
    if (std::fabs(rate) <= TOLERANCE) continue;
    const std::size_t var = basic_[r];
    const int side = violation(var);
    const auto meet = [&](double bound) {
      if (std::isinf(bound)) return;
      const double step = std::max(0.0, (bound - values_[var]) / rate);
      if (std::isfinite(step)) breakpoints_.push_back({step, r, std::fabs(rate), bound});
    };
    if (rate > 0) {
      if (side < 0) meet(lower_[var]);
      if (side <= 0) meet(upper_[var]);
    } else {
      if (side > 0) meet(upper_[var]);
      if (side >= 0) meet(lower_[var]);
    }
  }
}

// The breakpoint at which going on no longer gains anything.
std::size_t ApproximateSimplex::last_useful_breakpoint(double gain) {
  std::sort(breakpoints_.begin(), breakpoints_.end(),
            [](const Breakpoint& a, const Breakpoint& b) {
              return a.step == b.step ? a.slope > b.slope : a.step < b.step;
            });
  for (std::size_t i = 0; i < breakpoints_.size(); ++i) {
    gain -= breakpoints_[i].slope;
    if (gain <= TOLERANCE) return i;
  }
  return breakpoints_.size() - 1;
}

void ApproximateSimplex::advance(std::size_t column) {
  const double direction = gradient_[column] > 0 ? 1.0 : -1.0;
  find_breakpoints(column, direction);
  const std::size_t entering = nonbasic_[column];
  const double own_room = upper_[entering] - lower_[entering];
  double step = own_room;
  std::size_t row = NONE;
  double bound = 0;
  if (!breakpoints_.empty()) {
    const Breakpoint& last =
        breakpoints_[last_useful_breakpoint(std::fabs(gradient_[column]))];
    if (last.step < own_room) {
      step = last.step;
      row = last.row;
      bound = last.bound;
    }
  }
  if (std::isinf(step)) return;  // only rounding leads here; the count of steps ends it
  for (std::size_t r = 0; r < rows_; ++r)
    values_[basic_[r]] += coeff(r, column) * direction * step;
  if (row == NONE) {
    values_[entering] = direction > 0 ? upper_[entering] : lower_[entering];
    return;
  }
  values_[entering] += direction * step;
  values_[basic_[row]] = bound;
  pivot(row, column);
}

void ApproximateSimplex::pivot(std::size_t row, std::size_t column) {
  double* const source = &coeffs_[row * columns_];
  const double scale = 1 / source[column];
  for (std::size_t c = 0; c < columns_; ++c)
    source[c] *= -scale;
  source[column] = scale;
  for (std::size_t r = 0; r < rows_; ++r) {
    if (r == row) continue;
    double* const target = &coeffs_[r * columns_];
    const double factor = std::exchange(target[column], 0.0);
    if (factor == 0.0) continue;
    for (std::size_t c = 0; c < columns_; ++c)
      target[c] += factor * source[c];
  }
  std::swap(basic_[row], nonbasic_[column]);
}

}  // namespace opal::host

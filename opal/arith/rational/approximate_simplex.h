#ifndef OPAL_ARITH_RATIONAL_APPROXIMATE_SIMPLEX_H
#define OPAL_ARITH_RATIONAL_APPROXIMATE_SIMPLEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "opal/base/limits.h"

namespace opal::host {

/// A simplex in floating point that guesses what the exact one would find: a point, or
/// which bounds contradict each other. Nothing depends on its guesses being right but time.
///
/// Variables are numbered: first the `columns`, then the `rows`, each of which is a linear
/// form over the columns. Values should be scaled to the order of 1.
class ApproximateSimplex {
 public:
  enum class Verdict : std::uint8_t { FEASIBLE, INFEASIBLE, UNKNOWN };
  struct Side {
    std::size_t var;
    bool upper;
  };

  ApproximateSimplex(std::size_t rows, std::size_t columns, Limits& limits);

  // --- the problem
  /// The coefficient of a column in a row, 0 at first.
  double& coeff(std::size_t row, std::size_t column) {
    return coeffs_[row * columns_ + column];
  }
  /// The bounds of a variable, infinite at first.
  void set_bounds(std::size_t var, double lower, double upper);

  Verdict solve();

  /// After FEASIBLE: a point that satisfies the bounds up to rounding.
  [[nodiscard]] double value(std::size_t var) const { return values_[var]; }
  /// After INFEASIBLE: the bounds whose combination is a contradiction.
  [[nodiscard]] const std::vector<Side>& sides() const { return sides_; }

 private:
  // A place on the way of the entering variable where a row meets a bound.
  struct Breakpoint {
    double step;
    std::size_t row;
    double slope;  // by which the gain falls there
    double bound;
  };

  [[nodiscard]] int violation(std::size_t var) const;
  bool find_gradient();
  [[nodiscard]] std::size_t choose_column() const;
  // approximate_combination.cpp
  void collect_sides();
  [[nodiscard]] std::vector<double> combination() const;
  [[nodiscard]] std::vector<std::vector<double>> violated_equations() const;
  [[nodiscard]] double contradiction(const std::vector<double>& sum,
                                     const std::vector<double>& signs) const;
  void reduce(std::vector<double>& combination);

  void find_breakpoints(std::size_t column, double direction);
  [[nodiscard]] std::size_t last_useful_breakpoint(double gain);
  void advance(std::size_t column);
  void pivot(std::size_t row, std::size_t column);

  const std::size_t rows_;
  const std::size_t columns_;
  Limits& limits_;
  std::vector<double> coeffs_;  // basic_[r] = sum over c of coeffs_[r, c] * nonbasic_[c]
  std::vector<double> lower_;
  std::vector<double> upper_;
  std::vector<double> values_;
  std::vector<std::size_t> basic_;
  std::vector<std::size_t> nonbasic_;
  std::vector<double> gradient_;  // by column: how fast the violations shrink
  std::vector<Breakpoint> breakpoints_;
  std::vector<Side> sides_;
};

}  // namespace opal::host

#endif

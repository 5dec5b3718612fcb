#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "opal/arith/rational/approximate_simplex.h"

// Which bounds contradict each other, when no move reduces the sum of violations.
//
// Every violated row is an equation x - sum(t_c * x_c) = 0. Their sum, each taken with the
// sign of its violation, is one in which a positive coefficient stands at a lower bound and
// a negative one at an upper bound, so that its left side is at least
//
//     contradiction = sum(coefficient * bound) > 0.
//
// With k violated rows it has k-1 more terms than needed. Adding a multiple of one of the k
// equations, in the direction in which the contradiction does not shrink, until the first
// coefficient is zero, saves a term; that coefficient is then cleared from the equations,
// which leaves k-1 of them to go on with.

namespace opal::host {

namespace {

constexpr double TOLERANCE = 1e-9;
constexpr std::size_t NONE = SIZE_MAX;

void add_multiple(std::vector<double>& target, double factor,
                  const std::vector<double>& source) {
  for (std::size_t i = 0; i < target.size(); ++i) {
    target[i] += factor * source[i];
    if (std::fabs(target[i]) < TOLERANCE) target[i] = 0;
  }
}

// Clears a position of all rows by means of the row with the largest entry there, which
// is taken out. Answers whether there was one.
bool clear_position(std::vector<std::vector<double>>& rows, std::size_t position) {
  std::size_t largest = NONE;
  for (std::size_t r = 0; r < rows.size(); ++r)
    if (rows[r][position] != 0 &&
        (largest == NONE ||
         std::fabs(rows[r][position]) > std::fabs(rows[largest][position])))
      largest = r;
  if (largest == NONE) return false;
  std::swap(rows[largest], rows.back());
  const std::vector<double> source = std::move(rows.back());
  rows.pop_back();
  for (std::vector<double>& row : rows) {
    add_multiple(row, -row[position] / source[position], source);
    row[position] = 0;
  }
  return true;
}

}  // namespace

void ApproximateSimplex::collect_sides() {
  std::vector<double> sum = combination();
  reduce(sum);
  sides_.clear();
  for (std::size_t var = 0; var < sum.size(); ++var)
    if (sum[var] != 0) sides_.push_back({var, sum[var] < 0});
}

std::vector<double> ApproximateSimplex::combination() const {
  std::vector<double> sum(rows_ + columns_, 0.0);
  for (const std::size_t var : basic_)
    sum[var] = -violation(var);
  for (std::size_t c = 0; c < columns_; ++c)
    if (std::fabs(gradient_[c]) > TOLERANCE) sum[nonbasic_[c]] = -gradient_[c];
  return sum;
}

std::vector<std::vector<double>> ApproximateSimplex::violated_equations() const {
  std::vector<std::vector<double>> equations;
  for (std::size_t r = 0; r < rows_; ++r) {
    if (violation(basic_[r]) == 0) continue;
    std::vector<double>& equation = equations.emplace_back(rows_ + columns_, 0.0);
    equation[basic_[r]] = 1;
    for (std::size_t c = 0; c < columns_; ++c)
      equation[nonbasic_[c]] = -coeffs_[r * columns_ + c];
  }
  return equations;
}

// The sum of coefficient * bound, with the bounds that go with the coefficients `signs`.
double ApproximateSimplex::contradiction(const std::vector<double>& sum,
                                         const std::vector<double>& signs) const {
  double total = 0;
  for (std::size_t var = 0; var < sum.size(); ++var)
    if (sum[var] != 0) total += sum[var] * (signs[var] > 0 ? lower_[var] : upper_[var]);
  return total;
}

void ApproximateSimplex::reduce(std::vector<double>& sum) {
  std::vector<std::vector<double>> equations = violated_equations();
  for (std::size_t var = 0; var < sum.size() && equations.size() > 1; ++var)
    if (sum[var] == 0) clear_position(equations, var);
  while (equations.size() > 1) {
    limits_.look();
    const std::vector<double>& direction = equations.back();
    const double sense = contradiction(direction, sum) >= 0 ? 1.0 : -1.0;
    double step = 0;
    std::size_t first = NONE;
    for (std::size_t var = 0; var < sum.size(); ++var) {
      const double rate = sense * direction[var];
      if (rate * sum[var] >= 0) continue;
      if (first != NONE && -sum[var] / rate >= step) continue;
      step = -sum[var] / rate;
      first = var;
    }
    if (first == NONE) return;  // all coefficients grow: rounding spoiled the direction
    add_multiple(sum, sense * step, direction);
    sum[first] = 0;
    for (std::size_t var = 0; var < sum.size() && equations.size() > 1; ++var)
      if (sum[var] == 0) clear_position(equations, var);
  }
}

}  // namespace opal::host

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <utility>

#include "opal/arith/rational/approximate_simplex.h"
#include "opal/arith/rational/simplex.h"

// A shortcut past the exact search, whose pivots are dear where coefficients grow.
//
// The tableau is copied into floating point, with every bound drawn in by a small margin,
// and solved there. Then one of two things is confirmed exactly:
//
//  - a point: the variables that are not basic take its values, rounded to fractions with
//    a power of two below, and the basic ones follow from their rows. The margin absorbs
//    the rounding.
//  - a contradiction: the few constraints behind it go to an exact simplex of their own.
//    With as many variables without bounds as constraints less one, elimination leaves a
//    single row there, the refutation.
//
// If neither works out, nothing is lost but the time: the exact search goes on as before.

namespace opal::host {

namespace {

constexpr double MARGIN = 1e-6;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr std::size_t LARGEST_MATRIX = 4'000'000;  // entries

// 2^exponent
QNumber power_of_two(int exponent) {
  QNumber result(1);
  for (int left = std::abs(exponent); left > 0; left -= std::min(left, 60))
    result *= QNumber(1L << std::min(left, 60));
  return exponent < 0 ? result.inv() : result;
}

// The exponent of the power of two next to |x|.
int exponent_of(const QNumber& x) {
  int exponent = 0;
  std::frexp(x.to_double(), &exponent);
  return exponent;
}

}  // namespace

/// The variables of the copy: positions of columns and rows, and their scales.
struct Simplex::Shortcut {
  std::vector<int> columns;
  std::vector<int> rows;        // rows of the tableau
  std::vector<int> exponents;   // by variable: values are divided by 2^exponent
  std::vector<std::size_t> of;  // by variable: the column
};

// Slack variables are of the order of their forms' largest coefficients.
Simplex::Shortcut Simplex::plan_shortcut() const {
  Shortcut plan;
  plan.exponents.resize(variables_.size(), 0);
  plan.of.resize(variables_.size(), 0);
  for (int var = 0; var < static_cast<int>(variables_.size()); ++var) {
    const Variable& v = variable(var);
    if (v.state != State::LIVE) continue;
    int& exponent = plan.exponents[static_cast<std::size_t>(var)];
    for (const RowEntry& entry : v.form)
      exponent = std::max(exponent, exponent_of(entry.coeff));
    if (tableau_.row_of(var) != NONE || tableau_.count(var) == 0) continue;
    plan.of[static_cast<std::size_t>(var)] = plan.columns.size();
    plan.columns.push_back(var);
  }
  for (int row = 0; row < tableau_.row_limit(); ++row)
    if (tableau_.basic(row) != NONE) plan.rows.push_back(row);
  return plan;
}

void Simplex::copy_bounds(ApproximateSimplex& copy, std::size_t position, int var,
                          int exponent) const {
  const Variable& v = variable(var);
  const auto scaled = [&](const Bound& bound) {
    return std::ldexp(bound.value.real.to_double(), -exponent);
  };
  double lower = v.lower.exists() ? scaled(v.lower) : -INFINITE;
  double upper = v.upper.exists() ? scaled(v.upper) : INFINITE;
  if (!v.fixed()) {
    if (v.lower.exists()) lower += MARGIN * (1 + std::fabs(lower));
    if (v.upper.exists()) upper -= MARGIN * (1 + std::fabs(upper));
    if (lower > upper) lower = upper = (lower + upper) / 2;
  }
  copy.set_bounds(position, lower, upper);
}

// Copies the tableau; answers whether all its numbers are in floating point's range.
bool Simplex::copy_tableau(const Shortcut& plan, ApproximateSimplex& copy) const {
  const auto exponent = [&](int var) {
    return plan.exponents[static_cast<std::size_t>(var)];
  };
  bool finite = true;
  for (std::size_t r = 0; r < plan.rows.size(); ++r) {
    const Row& row = tableau_.row(plan.rows[r]);
    const int basic = tableau_.basic(plan.rows[r]);
    const QNumber& own = *find_coeff(row, basic);
    for (const RowEntry& entry : row) {
      if (entry.var == basic) continue;
      const double ratio = std::ldexp(-(entry.coeff / own).to_double(),
                                      exponent(entry.var) - exponent(basic));
      finite = finite && std::isfinite(ratio);
      copy.coeff(r, plan.of[static_cast<std::size_t>(entry.var)]) = ratio;
    }
    copy_bounds(copy, plan.columns.size() + r, basic, exponent(basic));
  }
  for (std::size_t c = 0; c < plan.columns.size(); ++c)
    copy_bounds(copy, c, plan.columns[c], exponent(plan.columns[c]));
  return finite;
}

std::optional<Simplex::Answer> Simplex::take_shortcut() {
  const Shortcut plan = plan_shortcut();
  if (plan.rows.size() * plan.columns.size() > LARGEST_MATRIX) return std::nullopt;
  ApproximateSimplex copy(plan.rows.size(), plan.columns.size(), limits_);
  if (!copy_tableau(plan, copy)) return std::nullopt;
  switch (copy.solve()) {
    case ApproximateSimplex::Verdict::FEASIBLE: return confirm_point(plan, copy);
    case ApproximateSimplex::Verdict::INFEASIBLE: return confirm_conflict(plan, copy);
    default: return std::nullopt;
  }
}

std::optional<Simplex::Answer> Simplex::confirm_point(const Shortcut& plan,
                                                      const ApproximateSimplex& copy) {
  for (const int bits : {8, 24, 44}) {
    for (std::size_t c = 0; c < plan.columns.size(); ++c) {
      Variable& v = variable(plan.columns[c]);
      if (v.fixed()) continue;
      const double rounded = std::round(std::ldexp(copy.value(c), bits));
      if (!(std::fabs(rounded) < 9e18)) return std::nullopt;
      const int exponent = plan.exponents[static_cast<std::size_t>(plan.columns[c])] - bits;
      v.value = {QNumber(static_cast<long>(rounded)) * power_of_two(exponent), {}};
    }
    settle();
    const bool fits = std::all_of(plan.rows.begin(), plan.rows.end(),
                                  [&](int row) { return violation(row).row == NONE; });
    if (fits) return Answer{std::nullopt};
  }
  return std::nullopt;
}

std::optional<Simplex::Answer> Simplex::confirm_conflict(const Shortcut& plan,
                                                         const ApproximateSimplex& copy) {
  Simplex part(terms_, limits_, Effort::CORE);
  for (const ApproximateSimplex::Side& side : copy.sides()) {
    const int var = side.var < plan.columns.size()
                        ? plan.columns[side.var]
                        : tableau_.basic(plan.rows[side.var - plan.columns.size()]);
    const Bound& bound = side.upper ? variable(var).upper : variable(var).lower;
    if (bound.exists()) part.add(bound.constraint, bound.sign);
  }
  auto refutation = part.check();
  pivots_ += part.pivots();
  if (!refutation) return std::nullopt;
  return Answer{std::move(refutation)};
}

}  // namespace opal::host

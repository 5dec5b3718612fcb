#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "opal/arith/integer/integer_search.h"
#include "opal/arith/integer/solution_lattice.h"

// A guess at a model, before the tree of branches: a solution of the equalities near the
// middle of the variables' bounds. Branches on single variables hardly ever meet a solution
// of
//
//     51217 x + 39440 y + 87553 z + 12811 w = 76543210      0 <= x, y, z, w <= 1000
//
// though it has thousands. The guess is tried by branches that fix the variables, so the
// decider completes it and has the last word.
//
// Cost: a lattice of MOST_VARIABLES dimensions at most, and three guesses.

namespace opal::host {

using la::LinearTerm;

namespace {

constexpr std::size_t MOST_EQUALITIES = 8;
constexpr std::size_t MOST_VARIABLES = 16;
constexpr double WIDTH_IF_UNBOUNDED = 1000;

struct Bounds {
  std::optional<QNumber> lower;
  std::optional<QNumber> upper;

  [[nodiscard]] bool contain(const QNumber& x) const {
    return (!lower || *lower <= x) && (!upper || x <= *upper);
  }
};

struct Interval {
  double middle;
  double width;
};

// The middle and the width of bounds. A missing bound is taken to be WIDTH_IF_UNBOUNDED
// away from the other one, or, with both missing, half of that from the point.
Interval interval(const Bounds& bounds, double point) {
  constexpr double W = WIDTH_IF_UNBOUNDED;
  const double low = bounds.lower   ? bounds.lower->to_double()
                     : bounds.upper ? bounds.upper->to_double() - W
                                    : point - W / 2;
  const double high = bounds.upper ? bounds.upper->to_double() : low + W;
  return {(low + high) / 2, std::max(high - low, 1.0)};
}

// The position of a variable among ascending ones; nothing when it is not there.
std::optional<std::size_t> position(const std::vector<int>& vars, int var) {
  assert(std::is_sorted(vars.begin(), vars.end()));
  const auto at = std::lower_bound(vars.begin(), vars.end(), var);
  if (at == vars.end() || *at != var) return std::nullopt;
  return static_cast<std::size_t>(at - vars.begin());
}

// What constraints on single variables say about some variables.
std::vector<Bounds> bounds_of(const std::vector<int>& vars, const std::vector<int>& ids,
                              const ConstraintTerms& terms) {
  std::vector<Bounds> result(vars.size());
  for (const int id : ids) {
    const LinearTerm& term = terms.constraint_term(id);
    const auto& coeffs = term.vars.coeffs();
    if (coeffs.size() != 1 || term.kind == LinearTerm::EQ) continue;
    const auto at = position(vars, coeffs[0].first);
    if (!at) continue;
    assert(term.kind == LinearTerm::LEQ || term.kind == LinearTerm::GEQ);
    const QNumber bound = term.constant / coeffs[0].second;
    const bool upper = (term.kind == LinearTerm::LEQ) == (coeffs[0].second.sign() > 0);
    auto& side = upper ? result[*at].upper : result[*at].lower;
    if (!side || (upper ? bound < *side : *side < bound)) side = bound;
  }
  return result;
}

}  // namespace

// Values of the variables of the equalities to try, the likeliest first.
std::vector<IntegerSearch::Guess> IntegerSearch::guesses(
    const std::vector<IntegerRow>& equalities, const std::vector<int>& vars) const {
  const std::vector<Bounds> bounds = bounds_of(vars, integral_rows_, constraints_);
  std::vector<double> point, middle, widths;
  for (std::size_t i = 0; i < vars.size(); ++i) {
    assert(mapper_.is_integer(vars[i]));
    point.push_back(problem_.decider->value(vars[i]).real.to_double());
    const Interval range = interval(bounds[i], point.back());
    assert(range.width > 0);
    middle.push_back(range.middle);
    widths.push_back(range.width);
  }
  std::vector<IntegerRow> rows(equalities);
  for (IntegerRow& row : rows)
    for (RowEntry& entry : row.sum)
      entry.var = static_cast<int>(*position(vars, entry.var));
  const SolutionLattice lattice(rows, std::move(widths), limits_);
  std::vector<Guess> result;
  if (!lattice.has_solution()) return result;
  // Where the middle is far from the equalities, the way to the relaxation's point helps.
  for (const double share : {0.0, 0.5, 0.75}) {
    std::vector<double> target;
    for (std::size_t i = 0; i < vars.size(); ++i)
      target.push_back(middle[i] + share * (point[i] - middle[i]));
    Guess guess = lattice.near(target);
    assert(guess.size() == vars.size());
    std::size_t i = 0;
    while (i < vars.size() && bounds[i].contain(guess[i]))
      ++i;
    if (i == vars.size()) result.push_back(std::move(guess));
  }
  return result;
}

bool IntegerSearch::guess_model(const std::vector<IntegerRow>& equalities) {
  if (equalities.empty() || equalities.size() > MOST_EQUALITIES) return false;
  std::vector<int> vars;
  for (const IntegerRow& row : equalities)
    for (const RowEntry& entry : row.sum)
      vars.push_back(entry.var);
  std::sort(vars.begin(), vars.end());
  vars.erase(std::unique(vars.begin(), vars.end()), vars.end());
  if (vars.size() > MOST_VARIABLES) return false;
  const std::vector<Guess> candidates = guesses(equalities, vars);
  assert(problem_.decider->size() == problem_.convex->size());
  return std::any_of(candidates.begin(), candidates.end(),
                     [&](const Guess& guess) { return is_model(vars, guess); });
}

// Whether the problem has a model with these values of variables, without another branch;
// then the decider has it.
bool IntegerSearch::is_model(const std::vector<int>& vars, const Guess& values) {
  assert(vars.size() == values.size() && problem_.is_normal());
  for (std::size_t i = 0; i < vars.size(); ++i) {
    assert(values[i].is_integer());
    la::Equation sum;
    sum.add_var(QNumber(1), vars[i]);
    for (const int kind : {LinearTerm::LEQ, LinearTerm::GEQ})
      problem_.decider->add(constraints_.add_branch(LinearTerm(kind, sum, values[i])), 0);
  }
  if (!problem_.decider->check() && !fractional_variable() &&
      !violated_disequality(Disequalities::INTEGRAL) &&
      !violated_disequality(Disequalities::MIXED))
    return true;
  problem_.decider->retract(problem_.convex->size());
  assert(problem_.is_normal());
  return false;
}

}  // namespace opal::host

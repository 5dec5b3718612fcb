#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include "opal/arith/integer/cuts.h"
#include "opal/arith/integer/integer_search.h"
#include "opal/arith/rational/disequalities.h"

// One node of the search tree:
//
//     the relaxation is contradictory        refuted by a combination
//     its point gives an Int a fraction      cut the point off, else branch on the variable
//     its point violates a disequality       see below
//     otherwise                              a model
//
// A disequality t /= c over integers that the point violates is taken apart by branching
// around c: first t <= c-1 against t >= c, then, where t = c is still possible,
// t <= c against t >= c+1. Between the two only t = c is left, and the strict sides of the
// disequality refute it. Where the relaxation rules a side out already, that branching is
// left out; so no branch ever is a constraint that holds anyway, and none is an atom that
// was asserted.
//
// A disequality with a real variable is no ground for branching. As over the rationals (see
// solver.cpp) one of its strict halves is added, if one is possible, and else both are
// refuted. The halves last until the node is left.
//
// Example: x /= 3 over an Int x with the point x = 3 and no bounds: the branches are x <= 2
// and x >= 3; in the second, where x = 3 is still the point, x <= 2 is ruled out, and the
// branches are x <= 3 and x >= 4.
//
// Cost of a node: a check of the decider, and for each round of cuts an elimination of the
// tight rows (cuts.cpp); the root has up to ROOT_ROUNDS of them, others NODE_ROUNDS.

namespace opal::host {

using la::LinearTerm;

namespace {

constexpr std::size_t ROOT_ROUNDS = 12;
constexpr std::size_t NODE_ROUNDS = 2;
constexpr std::size_t CUTS_A_ROUND = 4;

bool is_integer(const DeltaNumber& x) { return x.strict.is_zero() && x.real.is_integer(); }

// The greatest integer that is not above x.
QNumber floor_of(const DeltaNumber& x) {
  QNumber result = x.real.floor();
  if (x.strict.sign() < 0 && x.real.is_integer()) result -= QNumber(1);
  return result;
}

// How far a number is from the middle between two integers; 1/2 for an integer.
QNumber distance_from_middle(const QNumber& x) {
  QNumber distance = abs(x - x.floor() - QNumber(1, 2));
  assert(distance <= QNumber(1, 2));
  return distance;
}

}  // namespace

bool IntegerSearch::is_integral(const LinearTerm& term) const {
  const auto& coeffs = term.vars.coeffs();
  return std::all_of(coeffs.begin(), coeffs.end(),
                     [this](const auto& pair) { return mapper_.is_integer(pair.first); });
}

bool IntegerSearch::holds_with_equality(const LinearTerm& term) const {
  return value_in_model(term.vars, *problem_.decider) == DeltaNumber{term.constant, {}};
}

IntegerSearch::Step IntegerSearch::examine() {
  const std::size_t rounds =
      !problem_.cuts ? 0 : (frames_.empty() ? ROOT_ROUNDS : NODE_ROUNDS);
  for (std::size_t round = 0;; ++round) {
    assert(round <= rounds);
    limits_.look();
    if (auto combination = problem_.decider->check())
      return {refuted(std::move(*combination)), std::nullopt};
    const std::optional<int> var = fractional_variable();
    if (!var) return separate();
    if (round < rounds && add_cuts()) continue;
    return branch_on(*var);
  }
}

IntegerSearch::Refuted IntegerSearch::refuted(FarkasCombination combination) {
  assert(!combination.empty());
  Refuted result;
  for (const FarkasLeaf& leaf : combination) {
    const std::vector<int> below = constraints_.branches_below(leaf.constraint_id);
    result.uses.insert(result.uses.end(), below.begin(), below.end());
  }
  std::sort(result.uses.begin(), result.uses.end());
  result.uses.erase(std::unique(result.uses.begin(), result.uses.end()), result.uses.end());
  result.proof = constraints_.refutation(std::move(combination));
  assert(result.proof && result.uses.size() <= frames_.size());
  return result;
}

// Cuts over the asserted constraints and branches that hold with equality.
bool IntegerSearch::add_cuts() {
  std::vector<int> tight;
  const auto add_if_tight = [&](int id) {
    limits_.look();
    const LinearTerm& term = constraints_.constraint_term(id);
    if (term.kind == LinearTerm::EQ || holds_with_equality(term)) tight.push_back(id);
  };
  for (const int id : integral_rows_)
    add_if_tight(id);
  for (const Frame& frame : frames_)
    add_if_tight(frame.in_second ? frame.branches.second : frame.branches.first);
  std::vector<Cut> cuts = tight_cuts(constraints_, tight, CUTS_A_ROUND, limits_);
  assert(cuts.size() <= CUTS_A_ROUND);
  for (Cut& cut : cuts) {
    assert(cut.is_normal());
    problem_.decider->add(constraints_.add_cut(std::move(cut)), 0);
  }
  statistics_.cuts += cuts.size();
  return !cuts.empty();
}

// The most fractional variable, or nothing when all are integers.
std::optional<int> IntegerSearch::fractional_variable() const {
  std::optional<int> best;
  QNumber best_distance;
  for (const int var : integers_) {
    const DeltaNumber value = problem_.decider->value(var);
    if (is_integer(value)) continue;
    QNumber distance = distance_from_middle(value.real);
    assert(mapper_.is_integer(var));
    if (best && best_distance <= distance) continue;
    best = var;
    best_distance = std::move(distance);
  }
  return best;
}

IntegerSearch::Step IntegerSearch::branch_on(int var) {
  const DeltaNumber value = problem_.decider->value(var);
  const QNumber floor = floor_of(value);
  assert(!is_integer(value) && floor.is_integer());
  la::Equation vars;
  vars.add_var(QNumber(1), var);
  const bool is_nearer_above = value.real - floor > QNumber(1, 2);
  return {std::nullopt,
          branches_at(vars, floor,
                      is_nearer_above ? FirstBranch::AT_LEAST : FirstBranch::AT_MOST)};
}

// The branches t <= floor and t >= floor + 1.
IntegerSearch::Branches IntegerSearch::branches_at(const la::Equation& vars,
                                                   const QNumber& floor,
                                                   FirstBranch first) {
  assert(vars.has_vars() && floor.is_integer());
  const int at_most = constraints_.add_branch(LinearTerm(LinearTerm::LEQ, vars, floor));
  const int at_least =
      constraints_.add_branch(LinearTerm(LinearTerm::GEQ, vars, floor + QNumber(1)));
  assert(at_least < at_most);  // ids of what a search adds descend
  return first == FirstBranch::AT_LEAST ? Branches{at_least, at_most}
                                        : Branches{at_most, at_least};
}

std::optional<int> IntegerSearch::violated_disequality(Disequalities which) const {
  for (const int id : *problem_.disequalities) {
    limits_.look();
    const LinearTerm& term = constraints_.constraint_term(id);
    assert(term.kind == LinearTerm::NEQ);
    if (is_integral(term) != (which == Disequalities::INTEGRAL)) continue;
    if (holds_with_equality(term)) return id;
  }
  return std::nullopt;
}

// The decider has a point with integer values; makes it satisfy the disequalities.
IntegerSearch::Step IntegerSearch::separate() {
  const std::size_t base = problem_.decider->size();
  for (;;) {
    assert(problem_.decider->size() >= base);
    if (const auto var = fractional_variable()) {
      Step step = branch_on(*var);
      problem_.decider->retract(base);
      return step;
    }
    if (const auto id = violated_disequality(Disequalities::INTEGRAL)) {
      problem_.decider->retract(base);
      return separate_integral(*id);
    }
    const auto id = violated_disequality(Disequalities::MIXED);
    if (!id) return {};
    if (add_half(*problem_.decider, *id)) continue;
    problem_.decider->retract(base);
    return refuted_disequality(*id);
  }
}

IntegerSearch::Step IntegerSearch::separate_integral(int id) {
  const bool below = half_is_possible(*problem_.decider, id, -1);
  if (!below && !half_is_possible(*problem_.decider, id, 1)) return refuted_disequality(id);
  const LinearTerm& term = constraints_.constraint_term(id);
  assert(is_integral(term) && term.constant.is_integer());
  const QNumber floor = below ? term.constant - QNumber(1) : term.constant;
  return {std::nullopt, branches_at(term.vars, floor, FirstBranch::AT_MOST)};
}

IntegerSearch::Step IntegerSearch::refuted_disequality(int id) {
  assert(constraints_.constraint_term(id).kind == LinearTerm::NEQ);
  Refuted at_most = refuted(refute_half(*problem_.decider, id, -1));
  Refuted at_least = refuted(refute_half(*problem_.decider, id, 1));
  Refuted result;
  std::set_union(at_most.uses.begin(), at_most.uses.end(), at_least.uses.begin(),
                 at_least.uses.end(), std::back_inserter(result.uses));
  result.proof = disequality_proof(id, std::move(at_most.proof), std::move(at_least.proof));
  return {std::move(result), std::nullopt};
}

}  // namespace opal::host

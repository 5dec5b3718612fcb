#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/arith/solver.h"
#include "opal/proofs/farkas.h"
#include "opal/smt/arithmetic_impl.h"

// Integers.
//
// When the rational values leave an Int with a fraction, the solver of conjunctions looks
// at what is asserted, as far as it matters: the literals behind the present bounds, and
// disequalities within these. It knows equations over the integers, cuts and branches. Its
// model is the model; its refutation names a conflict. It may take so many nodes only; when
// these do not suffice, the search itself branches on the variable with the fraction,
//
//     x <= c  or  x >= c + 1         (one atom: decided, since it is no clause)
//
// so that what it learns from either side stays, and the next time there are twice as many
// nodes. This ends, with an answer or without.

namespace opal::smt {

using host::BoundSimplex;
using host::DeltaNumber;
using la::LinearTerm;
using sat::FinalCheck;

FinalCheck ArithmeticTheory::Impl::check_integers(int fractional,
                                                  Consequences& consequences) {
  assert(fractional >= 0 && conflict_.empty());
  ++statistics.integer_checks;
  const std::vector<Literal> literals = essential_literals();
  std::vector<std::pair<int, Literal>> by_constraint;
  la::Solver solver(mapper_, limits_);
  solver.set_branch_limit(node_limit_);
  for (const Literal literal : literals) {
    const int id = table_.meaning(literal).constraint;
    solver.assert_constraint(id);
    by_constraint.emplace_back(id, literal);
  }
  switch (solver.check()) {
    case la::Solver::Verdict::SAT: save_model(solver); return FinalCheck::CONSISTENT;
    case la::Solver::Verdict::UNSAT: break;
    case la::Solver::Verdict::UNKNOWN:
      if (node_limit_ >= LAST_NODE_LIMIT) return FinalCheck::UNKNOWN;
      node_limit_ *= 2;
      branch(fractional, consequences);
      return FinalCheck::INCONSISTENT;
  }
  ++statistics.integer_conflicts;
  std::sort(by_constraint.begin(), by_constraint.end());
  assert(conflict_.empty());
  for (const int id : host::proof_constraints(*solver.refutation())) {
    const auto found =
        std::lower_bound(by_constraint.begin(), by_constraint.end(), id,
                         [](const auto& pair, int wanted) { return pair.first < wanted; });
    if (found != by_constraint.end() && found->first == id)
      conflict_.push_back(found->second);
    else
      assert(mapper_.is_branch(id));
  }
  assert(!conflict_.empty());
  conflict_level_ = levels_.size();
  give_conflict(consequences);
  return FinalCheck::INCONSISTENT;
}

// The grounds of the bounds of each form, and the disequalities whose values lie within.
std::vector<sat::Literal> ArithmeticTheory::Impl::essential_literals() {
  std::vector<Literal> literals;
  for (int var = 0; var < static_cast<int>(forms_.size()); ++var) {
    for (const Side side : {Side::LOWER, Side::UPPER}) {
      const BoundSimplex::Bound* const bound = simplex_.bound(var, side);
      if (bound == nullptr) continue;
      const Span span = grounds_[bound->reason];
      literals.insert(literals.end(), ground_literals_.begin() + span.begin,
                      ground_literals_.begin() + span.end);
    }
  }
  for (const Literal literal : disequalities_) {
    const Meaning& meaning = table_.meaning(literal);
    const BoundSimplex::Bound* const lower = simplex_.bound(meaning.var, Side::LOWER);
    const BoundSimplex::Bound* const upper = simplex_.bound(meaning.var, Side::UPPER);
    const bool below = lower != nullptr && meaning.value < lower->value;
    const bool above = upper != nullptr && upper->value < meaning.value;
    if (!below && !above) literals.push_back(literal);
  }
  std::sort(literals.begin(), literals.end());
  literals.erase(std::unique(literals.begin(), literals.end()), literals.end());
  return literals;
}

void ArithmeticTheory::Impl::branch(int fractional, Consequences& consequences) {
  ++statistics.branches;
  const LinearForms::Structural structural =
      forms_.structurals()[static_cast<std::size_t>(fractional)];
  const DeltaNumber& value = simplex_.value(structural.var);
  LinearTerm term(LinearTerm::LEQ, {}, value.real.floor());
  if (value.real.is_integer() && value.strict.sign() < 0) term.constant -= QNumber(1);
  term.vars.add_var(QNumber(1), structural.mapper_var);
  const Literal literal = atoms_.literal(term, consequences);
  assert(table_.has(literal.variable()) && is_asserted_[literal.code()] == 0);
  consequences.add_split(literal.variable());
}

void ArithmeticTheory::Impl::save_model(const la::Solver& solver) {
  model.clear();
  for (const LinearForms::Structural& structural : forms_.structurals()) {
    const auto index = static_cast<std::size_t>(structural.mapper_var);
    if (index >= model.size()) model.resize(index + 1);
    model[index] = solver.value(structural.mapper_var);
  }
}

}  // namespace opal::smt

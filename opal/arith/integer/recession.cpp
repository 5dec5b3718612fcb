#include "opal/arith/integer/recession.h"

#include <cassert>
#include <deque>

#include "opal/arith/rational/simplex.h"

// A variable is unbounded exactly when there is a direction along which one can go for ever
// and in which it changes: a solution of the constraints with all constants replaced by 0.
// (Schrijver, Theory of Linear and Integer Programming, 8.2.)
//
// Example: x - y <= 3 and x >= 0 leave y unbounded from above: the direction (0, 1) solves
// x - y <= 0, x >= 0, y >= 1. They bound x from below only: (1, 1) is a direction too.
//
// Directions can be scaled, so a variable that changes may change by 1, or by -1: two
// checks of a simplex for each variable.

namespace opal::host {

using la::LinearTerm;

namespace {

class Directions final : public ConstraintTerms {
 public:
  [[nodiscard]] const LinearTerm& constraint_term(int constr_id) const override {
    assert(constr_id >= 1 && static_cast<std::size_t>(constr_id) <= terms_.size());
    return terms_[static_cast<std::size_t>(constr_id) - 1];
  }
  int add(LinearTerm term) {
    assert(term.vars.has_vars());
    terms_.push_back(std::move(term));
    return static_cast<int>(terms_.size());
  }

 private:
  std::deque<LinearTerm> terms_;
};

int without_strictness(int relation) {
  if (relation == LinearTerm::LT) return LinearTerm::LEQ;
  return relation == LinearTerm::GT ? static_cast<int>(LinearTerm::GEQ) : relation;
}

}  // namespace

bool bounds_all(const ConstraintTerms& terms, const std::vector<int>& convex,
                const std::vector<int>& variables, Limits& limits) {
  Directions directions;
  Simplex simplex(directions, limits, Simplex::Effort::EXACT);
  for (const int id : convex) {
    const LinearTerm& term = terms.constraint_term(id);
    assert(term.kind != LinearTerm::NEQ);
    simplex.add(
        directions.add(LinearTerm(without_strictness(term.kind), term.vars, QNumber())), 0);
  }
  const std::size_t height = simplex.size();
  assert(height == convex.size());
  for (const int var : variables) {
    la::Equation alone;
    alone.add_var(QNumber(1), var);
    for (const int relation : {LinearTerm::LEQ, LinearTerm::GEQ}) {
      const QNumber step(relation == LinearTerm::LEQ ? -1 : 1);
      simplex.add(directions.add(LinearTerm(relation, alone, step)), 0);
      const bool unbounded = !simplex.check();
      simplex.retract(height);
      if (unbounded) return false;
    }
  }
  return true;
}

}  // namespace opal::host

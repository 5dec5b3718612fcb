#include "opal/smt/guarded_solver.h"

#include <cassert>

namespace opal::smt {

using resolution::Meaning;
using sat::Literal;
using sat::Variable;

GuardedSolver::GuardedSolver(host::Terms& terms, host::Mapper& mapper, host::Limits& limits,
                             sat::Recording recording)
    : search_(recording, &limits),
      atoms_(terms, mapper, search_,
             [this](Variable variable, int positive, int negative) {
               theory_.add_atom(variable, positive, negative);
             }),
      theory_(mapper, limits, atoms_),
      clausifier_(terms, atoms_, search_) {
  search_.set_theory(&theory_);
}

Literal GuardedSolver::make_guard() {
  const Variable guard = search_.make_variable();
  is_guard_.resize(guard + 1, false);
  is_guard_[guard] = true;
  return Literal(guard);
}

void GuardedSolver::add(const Term_* formula, sat::Tag assertion, Literal guard) {
  assert(!broken_);
  assert(!guard.is_valid() || is_guard(guard.variable()));
  const ClauseList& clauses =
      clausifier_.clauses(formula, assertion, guard.is_valid() ? ~guard : guard);
  broken_ = true;
  for (std::size_t i = 0; i < clauses.size(); ++i)
    search_.add_clause(clauses[i], assertion);
  broken_ = false;
}

void GuardedSolver::release(Literal guard, std::size_t definitions) {
  assert(is_guard(guard.variable()) && !guard.is_negative());
  search_.release_activation(guard.variable());
  clausifier_.shrink_definitions(definitions);
}

Meaning GuardedSolver::meaning(Variable variable) const {
  Meaning meaning = clausifier_.meaning(variable);
  if (meaning.kind != Meaning::Kind::NONE) return meaning;
  meaning.atom = atoms_.atom(variable);
  if (meaning.atom != nullptr) meaning.kind = Meaning::Kind::ATOM;
  return meaning;
}

}  // namespace opal::smt

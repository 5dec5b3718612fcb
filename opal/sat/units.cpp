// What holds at level 0, and its proofs.
//
// A literal that is true at level 0 holds for good. With a proof recorded, its unit clause
// is derived at once: its reason resolved with the units of the reason's other literals.
// Other derivations resolve with the unit and need no reasons of level 0, whose clauses may
// go.

#include "opal/sat/engine.h"

namespace opal::sat {

void Search::Engine::settle_level_zero() {
  assert(level() == 0);
  for (; zero_head_ < trail_.size(); zero_head_++) {
    const Literal literal = trail_[zero_head_];
    VariableState& state = variables_[literal.variable()];
    assert(state.level == 0);
    if (state.reason == NO_REF) continue;
    if (is_recording()) {
      assert(state.reason != THEORY_REF);
      derive_false(state.reason, literal);
      assert(unit_ids_[literal.variable()] == NO_CLAUSE);
      unit_ids_[literal.variable()] = proofs_.add_chain(chain_);
    }
    if (is_explained_[literal.variable()] != 0)
      drop_explanation(literal.variable());
    else
      state.reason = NO_REF;
  }
}

// Sets chain_ to the clause without its literals other than `kept`, all false at level 0.
void Search::Engine::derive_false(ClauseRef ref, Literal kept) {
  chain_.clear();
  chain_.first = arena_[ref].id();
  for (const Literal literal : arena_[ref])
    if (literal != kept) mark_unit(literal.variable());
  resolve_units();
}

void Search::Engine::mark_unit(Variable variable) {
  assert(variables_[variable].level == 0);
  if ((marks_[variable] & UNIT) != 0) return;
  assert(unit_ids_[variable] != NO_CLAUSE);
  marks_[variable] |= UNIT;
  units_.push_back(variable);
}

// Appends the units that were marked to chain_.
void Search::Engine::resolve_units() {
  for (const Variable variable : units_) {
    chain_.links.push_back({true_literal(variable), unit_ids_[variable]});
    marks_[variable] &= static_cast<std::uint8_t>(~UNIT);
  }
  units_.clear();
}

// The empty clause, from a clause whose literals are all false at level 0; held.
ClauseId Search::Engine::refutation(ClauseRef conflict) {
  if (!is_recording()) return NO_CLAUSE;
  backtrack(0);
  settle_level_zero();
  derive_false(conflict, Literal());
  return proofs_.add_chain(chain_);
}

}  // namespace opal::sat

// Levels: decisions, and the way back.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

// Makes the next assumption that has no value true, or decides the most active variable
// that occurs in a clause that is kept. Assumptions that are true already get a level as
// well, so that assumption i is decided at level i + 1.
Search::Engine::Decision Search::Engine::decide() {
  while (level() < assumptions_.size()) {
    const Literal assumption = assumptions_[level()];
    if (truth(assumption) < 0) {
      analyse_failed_assumption(assumption);
      return Decision::ASSUMPTION_FAILED;
    }
    push_level();
    if (truth(assumption) > 0) continue;
    assign(assumption, NO_REF);
    return Decision::MADE;
  }
  while (!heap_.empty()) {
    const Variable variable = heap_.take_first();
    if (truth(Literal(variable)) != 0 || !occurs(variable)) continue;
    statistics_.decisions++;
    push_level();
    assign(choose_literal(variable), NO_REF);
    return Decision::MADE;
  }
  return Decision::NONE_LEFT;
}

// The sign to decide. Of an atom that occurs with one sign only, the other one, which asks
// nothing of the theory and leaves it to the clauses whether the atom has to hold.
Literal Search::Engine::choose_literal(Variable variable) {
  const Literal positive(variable);
  if (kinds_[variable] == VariableKind::ATOM) {
    for (const Literal literal : {positive, ~positive}) {
      if (occurrences_[literal.code()] > 0) continue;
      is_idle_[variable] = 1;
      return literal;
    }
  }
  return Literal(variable, phases_[variable]);
}

void Search::Engine::push_level() {
  assert(head_ == trail_.size());
  assert(theory_ == nullptr || theory_head_ == trail_.size());
  trail_limits_.push_back(static_cast<std::uint32_t>(trail_.size()));
  if (level_stamps_.size() <= level()) level_stamps_.resize(level() + 1, 0);
  if (theory_ != nullptr) theory_->push_level();
}

void Search::Engine::backtrack(std::uint32_t target) {
  if (level() <= target) return;
  const std::size_t kept = trail_limits_[target];
  for (std::size_t i = trail_.size(); i-- > kept;) {
    const Literal literal = trail_[i];
    const Variable variable = literal.variable();
    values_[literal.code()] = values_[(~literal).code()] = 0;
    phases_[variable] = literal.sign();
    is_idle_[variable] = 0;
    if (occurs(variable)) heap_.insert(variable);
    if (theory_ != nullptr && is_explained_[variable] != 0) drop_explanation(variable);
  }
  assert(kept >= zero_head_);
  trail_.resize(kept);
  trail_limits_.resize(target);
  head_ = kept;
  assert(level() == target && head_ == trail_.size());
  if (theory_ == nullptr) return;
  if (theory_head_ > kept) theory_head_ = kept;
  theory_->backtrack(target);
}

// Takes back the decisions, not the assumptions.
void Search::Engine::restart() {
  statistics_.restarts++;
  restarts_.restarted();
  backtrack(
      static_cast<std::uint32_t>(std::min<std::size_t>(level(), assumptions_.size())));
}

}  // namespace opal::sat

// The loop of the search.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

namespace {
// Up to this many words of clauses, everything is checked at every answer.
[[maybe_unused]] constexpr std::size_t SMALL = 1000;
}  // namespace

Answer Search::Engine::solve(LiteralSpan assumptions) {
  edit();
  assert(std::all_of(assumptions.begin(), assumptions.end(), [&](Literal assumption) {
    return assumption.variable() < variable_count();
  }));
  assumptions_.assign(assumptions.begin(), assumptions.end());
  failed_assumptions_.clear();
  state_ = State::SEARCHING;
  next_simplification_ = 0;
  Answer answer = Answer::UNKNOWN;
  try {
    answer = search();
  } catch (const host::LimitReached& limit) {
    reason_unknown_ = limit.what();
  } catch (...) {
    abandon();
    state_ = State::EDITING;
    throw;
  }
  abandon();
  assert(arena_.size() > SMALL || is_normal());
  switch (answer) {
    case Answer::SATISFIABLE: state_ = State::SATISFIABLE; break;
    case Answer::UNSATISFIABLE: state_ = State::UNSATISFIABLE; break;
    case Answer::UNKNOWN: state_ = State::UNKNOWN; break;
  }
  return answer;
}

// Goes back to level 0 from wherever the search is, also from the middle of an analysis.
void Search::Engine::abandon() {
  backtrack(0);
  clear_marks();
  for (const Variable variable : units_)
    marks_[variable] = 0;
  units_.clear();
  frames_.clear();
  if (conflict_in_use_ != NO_REF) remove(conflict_in_use_);
  conflict_in_use_ = NO_REF;
  if (inconsistent_) return;
  settle_level_zero();
  save_lemmas();
}

Answer Search::Engine::search() {
  for (std::uint64_t rounds = 0;; rounds++) {
    if (limits_ != nullptr && rounds % 256 == 0) limits_->look();
    if (inconsistent_ || !propagate()) return conclude_unsatisfiable();
    if (level() == 0) simplify();
    if (statistics_.conflicts >= next_reduction_) reduce();
    if (restarts_.is_due()) restart();
    switch (decide()) {
      case Decision::MADE: break;
      case Decision::ASSUMPTION_FAILED: return Answer::UNSATISFIABLE;
      case Decision::NONE_LEFT:
        switch (final_check()) {
          case FinalCheck::CONSISTENT: save_model(); return Answer::SATISFIABLE;
          case FinalCheck::INCONSISTENT: break;
          case FinalCheck::UNKNOWN: return Answer::UNKNOWN;
        }
    }
  }
}

// Propagates to the end, in the clauses and in the theory, and learns from the conflicts on
// the way. False when the clauses are found inconsistent.
bool Search::Engine::propagate() {
  for (;;) {
    const ClauseRef conflict = propagate_clauses();
    if (conflict != NO_REF) {
      if (!handle_conflict(conflict)) return false;
      continue;
    }
    if (level() == 0) settle_level_zero();
    if (theory_ == nullptr) return true;
    tell_theory();
    theory_->propagate(*this);
    if (!take_up_gifts()) return false;
    if (head_ == trail_.size()) return true;
  }
}

// All literals of the clause `conflict` are false. Learns from it, goes back and assigns
// what the learned clause implies. False when the clauses are inconsistent.
bool Search::Engine::handle_conflict(ClauseRef conflict) {
  statistics_.conflicts++;
  if (limits_ != nullptr) limits_->look();
  switch (prepare_conflict(conflict)) {
    case Preparation::CONFLICT: learn_from(conflict); return true;
    case Preparation::IMPLICATION: return true;
    case Preparation::REFUTATION: become_inconsistent(refutation(conflict)); return false;
  }
  return true;
}

Answer Search::Engine::conclude_unsatisfiable() {
  assert(inconsistent_);
  final_clause_ = empty_clause_;
  if (final_clause_ != NO_CLAUSE) proofs_.hold(final_clause_);
  return Answer::UNSATISFIABLE;
}

void Search::Engine::save_model() {
  assert(head_ == trail_.size() && level() >= assumptions_.size());
  model_.resize(variable_count());
  for (Variable variable = 0; variable < variable_count(); variable++)
    model_[variable] = is_idle_[variable] != 0
                           ? Value::UNASSIGNED
                           : static_cast<Value>(truth(Literal(variable)));
}

}  // namespace opal::sat

// Editing: variables and clauses, between the calls of solve(). The trail is at level 0.

#include "opal/sat/engine.h"

#include <algorithm>
#include <stdexcept>

namespace opal::sat {

void Search::Engine::edit() {
  assert(state_ != State::SEARCHING);
  assert(level() == 0);
  release_final_clause();
  state_ = State::EDITING;
}

void Search::Engine::release_final_clause() {
  if (final_clause_ != NO_CLAUSE) proofs_.release(final_clause_);
  final_clause_ = NO_CLAUSE;
}

void Search::Engine::set_theory(Theory* theory) {
  edit();
  assert(atom_count_ == 0);
  theory_ = theory;
  theory_head_ = trail_.size();
}

Variable Search::Engine::add_variable(VariableKind kind) {
  assert(kind == VariableKind::PLAIN || theory_ != nullptr);
  const Variable variable = variable_count();
  if (variable >= resolution::VARIABLE_END)
    throw std::length_error("too many propositional variables: the limit is 2^31");
  variables_.emplace_back();
  kinds_.push_back(kind);
  phases_.push_back(Sign::NEGATIVE);
  occurrences_.resize(occurrences_.size() + 2, 0);
  is_idle_.push_back(0);
  is_explained_.push_back(0);
  marks_.push_back(0);
  values_.resize(values_.size() + 2, 0);
  watches_.resize(watches_.size() + 2);
  binaries_.resize(binaries_.size() + 2);
  level_stamps_.resize(variables_.size() + 1, 0);
  if (is_recording()) unit_ids_.push_back(NO_CLAUSE);
  heap_.add_variable();
  if (kind == VariableKind::ATOM) atom_count_++;
  return variable;
}

void Search::Engine::set_phase(Variable variable, Sign sign) {
  assert(variable < variable_count());
  phases_[variable] = sign;
}

void Search::Engine::add_clause(LiteralSpan given, Tag tag) {
  edit();
  if (inconsistent_) return;
  std::vector<Literal> literals(given.begin(), given.end());
  if (!normalise(literals)) return;
  ClauseId id = NO_CLAUSE;
  if (is_recording()) id = proofs_.add_leaf(resolution::NodeKind::INPUT, literals, tag);
  id = without_false_units(id, literals);
  if (literals.empty())
    become_inconsistent(id);
  else if (literals.size() == 1)
    assign_unit(literals[0], id);
  else
    attach(store(literals, ClauseKind::KEPT, 0, id));
}

void Search::Engine::release_activation(Variable activation) {
  edit();
  const Literal literal(activation);
  assert(truth(literal) <= 0);
  if (truth(literal) == 0) assign(~literal, NO_REF);
}

void Search::Engine::remove_lemmas() {
  edit();
  if (inconsistent_) return;
  arena_.for_each([&](ClauseRef ref) {
    if (arena_[ref].kind() == ClauseKind::LEMMA) remove(ref);
  });
  remove_garbage();
  for (const Variable variable : splits_) {
    occurrences_[Literal(variable).code()]--;
    occurrences_[(~Literal(variable)).code()]--;
  }
  splits_.clear();
}

Value Search::Engine::model_value(Literal literal) const {
  assert(state_ == State::SATISFIABLE);
  assert(literal.variable() < model_.size());
  const Value value = model_[literal.variable()];
  if (!literal.is_negative()) return value;
  return static_cast<Value>(-static_cast<int>(value));
}

// The contradiction without assumptions, proved by `id`, which the engine holds from now
// on.
void Search::Engine::become_inconsistent(ClauseId id) {
  assert(!inconsistent_);
  inconsistent_ = true;
  empty_clause_ = id;
}

// Sorts the literals of a clause, each once. False for a tautology and for a clause that is
// true at level 0, which both are of no use.
bool Search::Engine::normalise(std::vector<Literal>& literals) const {
  std::sort(literals.begin(), literals.end());
  literals.erase(std::unique(literals.begin(), literals.end()), literals.end());
  for (std::size_t i = 0; i < literals.size(); i++) {
    assert(literals[i].variable() < variable_count());
    if (i > 0 && literals[i] == ~literals[i - 1]) return false;
    if (truth(literals[i]) > 0 && level(literals[i]) == 0) return false;
  }
  return true;
}

// Takes out the literals that are false at level 0. With a proof recorded, gives back the
// hold on `id` and returns the id of what is left, held.
ClauseId Search::Engine::without_false_units(ClauseId id, std::vector<Literal>& literals) {
  const auto is_false_unit = [&](Literal literal) {
    return truth(literal) < 0 && level(literal) == 0;
  };
  if (is_recording()) {
    chain_.clear();
    chain_.first = id;
    for (const Literal literal : literals)
      if (is_false_unit(literal)) mark_unit(literal.variable());
    resolve_units();
    const ClauseId left = proofs_.add_chain(chain_);
    proofs_.release(id);
    id = left;
  }
  literals.erase(std::remove_if(literals.begin(), literals.end(), is_false_unit),
                 literals.end());
  return id;
}

// A new clause in the arena, watched by nothing yet. Takes over the hold on `id`.
ClauseRef Search::Engine::store(LiteralSpan literals, ClauseKind kind, std::uint32_t glue,
                                ClauseId id) {
  assert(!is_recording() || id != NO_CLAUSE);
  const ClauseRef ref = arena_.add(literals, kind, glue, id);
  clause_count_++;
  if (kind == ClauseKind::LEARNED) learned_count_++;
  if (kind != ClauseKind::KEPT && kind != ClauseKind::LEMMA) return ref;
  for (const Literal literal : literals) {
    occurrences_[literal.code()]++;
    if (truth(literal) == 0) heap_.insert(literal.variable());
  }
  return ref;
}

}  // namespace opal::sat

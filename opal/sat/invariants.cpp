// The check that everything in the engine agrees, for debug builds and tests.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

bool Search::Engine::is_normal() {
  return level() == 0 && conflict_in_use_ == NO_REF && gifts_.empty() && implied_.empty() &&
         heap_.is_normal() && (inconsistent_ || is_trail_normal()) &&
         are_clauses_normal() && (!is_recording() || proofs_.is_normal());
}

bool Search::Engine::is_trail_normal() const {
  if (head_ > trail_.size() || theory_head_ > trail_.size()) return false;
  for (std::size_t i = 0; i < trail_.size(); i++) {
    const VariableState& state = variables_[trail_[i].variable()];
    if (truth(trail_[i]) != 1 || truth(~trail_[i]) != -1) return false;
    if (state.position != i || state.level != 0 || state.reason != NO_REF) return false;
  }
  const auto assigned = std::count_if(values_.begin(), values_.end(),
                                      [](std::int8_t value) { return value != 0; });
  return static_cast<std::size_t>(assigned) == 2 * trail_.size() &&
         std::all_of(marks_.begin(), marks_.end(),
                     [](std::uint8_t mark) { return mark == 0; });
}

// Whether counts, watches and the heap follow from the clauses.
bool Search::Engine::are_clauses_normal() {
  std::vector<std::uint32_t> occurrences(occurrences_.size(), 0);
  for (const Variable variable : splits_)
    for (const Literal literal : {Literal(variable), ~Literal(variable)})
      occurrences[literal.code()]++;
  std::size_t clauses = 0;
  std::size_t learned = 0;
  arena_.for_each([&](ClauseRef ref) {
    Clause clause = arena_[ref];
    clauses++;
    if (clause.kind() == ClauseKind::LEARNED) learned++;
    if (clause.kind() == ClauseKind::KEPT || clause.kind() == ClauseKind::LEMMA)
      for (const Literal literal : clause)
        occurrences[literal.code()]++;
  });
  for (Variable variable = 0; variable < variable_count(); variable++)
    if (occurs(variable) && truth(Literal(variable)) == 0 && !heap_.has(variable))
      return false;
  return clauses == clause_count_ && learned == learned_count_ &&
         occurrences == occurrences_ && are_watches_normal();
}

// Whether each clause is watched once for each of its first two literals.
bool Search::Engine::are_watches_normal() {
  std::vector<bool> is_watched(arena_.size(), false);  // by clause and which of the two
  std::size_t watches = 0;
  for (const auto* lists : {&binaries_, &watches_})
    for (std::uint32_t code = 0; code < lists->size(); code++)
      for (const Watch& watch : (*lists)[code]) {
        Clause clause = arena_[watch.clause];
        if (clause.is_garbage() || (clause.size() == 2) != (lists == &binaries_))
          return false;
        const std::uint32_t which = clause[0].code() == code ? 0 : 1;
        if (clause[which].code() != code || is_watched[watch.clause + which]) return false;
        is_watched[watch.clause + which] = true;
        if (std::count(clause.begin(), clause.end(), watch.blocker) != 1) return false;
        watches++;
      }
  return watches == 2 * clause_count_;
}

}  // namespace opal::sat

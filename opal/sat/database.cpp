// Which clauses go: those that are true for good, and learned clauses that are of little
// use, by their glue.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

namespace {
constexpr std::uint32_t BEST_GLUE = 2;
constexpr std::uint64_t REDUCTION_INTERVAL = 300;
constexpr std::uint64_t REDUCTION_INCREMENT = 100;
}  // namespace

// Removes the clauses that are true at level 0, when there is something new there and the
// work is paid for by the propagations since the last time.
void Search::Engine::simplify() {
  assert(level() == 0 && head_ == trail_.size() && zero_head_ == trail_.size());
  if (simplified_trail_ == trail_.size()) return;
  if (statistics_.propagations < next_simplification_) return;
  simplified_trail_ = trail_.size();
  next_simplification_ = statistics_.propagations + arena_.size() / 4;
  arena_.for_each([&](ClauseRef ref) {
    if (is_satisfied_for_good(ref)) remove(ref);
  });
  if (arena_.garbage() > 0) remove_garbage();
}

// Removes half of the learned clauses that are neither reasons nor of the best glue nor
// used lately; those of the largest glue, then of the largest size.
void Search::Engine::reduce() {
  statistics_.reductions++;
  next_reduction_ = statistics_.conflicts + REDUCTION_INTERVAL +
                    REDUCTION_INCREMENT * statistics_.reductions;
  struct Candidate {
    std::uint32_t glue;
    std::uint32_t size;
    ClauseRef ref;
  };
  std::vector<Candidate> candidates;
  arena_.for_each([&](ClauseRef ref) {
    Clause clause = arena_[ref];
    if (clause.kind() != ClauseKind::LEARNED || clause.glue() <= BEST_GLUE ||
        clause.size() == 2)
      return;
    if (clause.uses() > 0)
      clause.set_uses(clause.uses() - 1);
    else if (!is_reason(ref))
      candidates.push_back({clause.glue(), clause.size(), ref});
  });
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) {
                     return a.glue != b.glue ? a.glue > b.glue : a.size > b.size;
                   });
  assert(candidates.size() <= learned_count_);
  candidates.resize(candidates.size() / 2);
  for (const Candidate& candidate : candidates)
    remove(candidate.ref);
  if (arena_.garbage() > 0) remove_garbage();
}

// Watches still refer to the clause until remove_garbage().
void Search::Engine::remove(ClauseRef ref) {
  Clause clause = arena_[ref];
  if (is_recording()) proofs_.release(clause.id());
  assert(clause_count_ > 0);
  clause_count_--;
  if (clause.kind() == ClauseKind::LEARNED) learned_count_--;
  if (clause.kind() == ClauseKind::KEPT || clause.kind() == ClauseKind::LEMMA)
    for (const Literal literal : clause) {
      assert(occurrences_[literal.code()] > 0);
      occurrences_[literal.code()]--;
    }
  arena_.mark_garbage(ref);
}

// Moves the clauses that stay to a new arena, those with a watch in common side by side.
void Search::Engine::remove_garbage() {
  ClauseArena target;
  target.reserve(arena_.size() - arena_.garbage());
  for (std::vector<std::vector<Watch>>* lists : {&binaries_, &watches_})
    for (std::vector<Watch>& list : *lists) {
      const auto is_garbage = [&](const Watch& watch) {
        return arena_[watch.clause].is_garbage();
      };
      list.erase(std::remove_if(list.begin(), list.end(), is_garbage), list.end());
      for (Watch& watch : list)
        watch.clause = arena_.move(watch.clause, target);
    }
  // Reasons that nothing watches are moved here.
  for (const Literal literal : trail_) {
    ClauseRef& reason = variables_[literal.variable()].reason;
    if (reason != NO_REF && reason != THEORY_REF) reason = arena_.move(reason, target);
  }
  assert(target.size() == arena_.size() - arena_.garbage());
  arena_ = std::move(target);
}

// Whether a clause that is attached is the reason of a literal, which then is watched.
bool Search::Engine::is_reason(ClauseRef ref) {
  Clause clause = arena_[ref];
  for (std::uint32_t i = 0; i < 2; i++)
    if (truth(clause[i]) > 0 && variables_[clause[i].variable()].reason == ref) return true;
  return false;
}

bool Search::Engine::is_satisfied_for_good(ClauseRef ref) {
  for (const Literal literal : arena_[ref])
    if (truth(literal) > 0 && level(literal) == 0) return true;
  return false;
}

}  // namespace opal::sat

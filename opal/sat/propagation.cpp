// Propagation by two watched literals.
//
// A clause is looked at only when one of its literals 0 and 1 becomes false; while neither
// is, or the clause has a true literal, it implies nothing. A watch carries a blocker, some
// other literal of the clause: while it is true, the clause itself need not be touched.
// In the list of clauses of two literals, the blocker is all there is to know.
//
// A literal found true becomes the blocker and the watch stays: the literal is older on the
// trail than the one that has just become false, so it outlives it.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

void Search::Engine::assign(Literal literal, ClauseRef reason) {
  assert(truth(literal) == 0);
  values_[literal.code()] = 1;
  values_[(~literal).code()] = -1;
  variables_[literal.variable()] = {level(), static_cast<std::uint32_t>(trail_.size()),
                                    reason};
  trail_.push_back(literal);
}

// Makes `literal` true at level 0; `id` proves it, and its hold is taken over.
void Search::Engine::assign_unit(Literal literal, ClauseId id) {
  assert(level() == 0);
  assert((id != NO_CLAUSE) == is_recording());
  assign(literal, NO_REF);
  if (is_recording()) unit_ids_[literal.variable()] = id;
}

void Search::Engine::attach(ClauseRef ref) {
  Clause clause = arena_[ref];
  assert(!clause.is_garbage());
  assert(clause.size() >= 2 && clause.kind() != ClauseKind::EXPLANATION);
  auto& lists = clause.size() == 2 ? binaries_ : watches_;
  lists[clause[0].code()].push_back({ref, clause[1]});
  lists[clause[1].code()].push_back({ref, clause[0]});
}

void Search::Engine::detach(ClauseRef ref) {
  Clause clause = arena_[ref];
  auto& lists = clause.size() == 2 ? binaries_ : watches_;
  for (std::uint32_t i = 0; i < 2; i++) {
    std::vector<Watch>& list = lists[clause[i].code()];
    const auto is_watch = [&](const Watch& watch) { return watch.clause == ref; };
    const auto found = std::find_if(list.begin(), list.end(), is_watch);
    assert(found != list.end());
    list.erase(found);
  }
}

// Propagates all that is on the trail. The clause whose literals are all false, or NO_REF.
ClauseRef Search::Engine::propagate_clauses() {
  ClauseRef conflict = NO_REF;
  const std::size_t begin = head_;
  while (head_ < trail_.size() && conflict == NO_REF) {
    const Literal falsified = ~trail_[head_++];
    for (const Watch& watch : binaries_[falsified.code()]) {
      const std::int8_t other = truth(watch.blocker);
      if (other > 0) continue;
      if (other == 0) {
        assign(watch.blocker, watch.clause);
      } else {
        conflict = watch.clause;
        break;
      }
    }
    if (conflict == NO_REF) conflict = propagate_long(falsified);
  }
  statistics_.propagations += head_ - begin;
  return conflict;
}

ClauseRef Search::Engine::propagate_long(Literal falsified) {
  std::vector<Watch>& list = watches_[falsified.code()];
  const std::int8_t* const values = values_.data();
  ClauseRef conflict = NO_REF;
  const Watch* from = list.data();
  const Watch* const end = from + list.size();
  Watch* to = list.data();
  while (from != end) {
    const Watch watch = *to++ = *from++;
    if (values[watch.blocker.code()] > 0) continue;
    Clause clause = arena_[watch.clause];
    assert(clause.size() > 2 && !clause.is_garbage());
    assert(clause[0] == falsified || clause[1] == falsified);
    Literal* const literals = clause.begin();
    const Literal other =
        Literal::of_code(literals[0].code() ^ literals[1].code() ^ falsified.code());
    const std::int8_t other_value = values[other.code()];
    if (other_value > 0) {
      to[-1].blocker = other;
      continue;
    }
    Literal* const last = clause.end();
    Literal* other_watch = literals + 2;
    while (other_watch != last && values[other_watch->code()] < 0)
      other_watch++;
    if (other_watch == last) {
      if (other_value == 0) {
        assign(other, watch.clause);
      } else {
        conflict = watch.clause;
        break;
      }
    } else if (values[other_watch->code()] > 0) {
      to[-1].blocker = *other_watch;
    } else {
      literals[0] = other;
      literals[1] = *other_watch;
      *other_watch = falsified;
      watches_[literals[1].code()].push_back({watch.clause, other});
      to--;
    }
  }
  if (to != from) {
    while (from != end)
      *to++ = *from++;
    list.resize(static_cast<std::size_t>(to - list.data()));
  }
  return conflict;
}

}  // namespace opal::sat

// Learning from a conflict.
//
// All literals of the conflict are false. Those of the present level are resolved with
// their reasons, the latest first, until one is left: the first unique implication point,
// whose negation the learned clause implies after the way back. (Zhang and others,
// "Efficient conflict driven learning", 2001.)
//
//   level 1: a         level 2: b, then c by {~b, c}, then d by {~a, ~c, d}
//   conflict {~c, ~d}  with d by {~a, ~c, d}:  {~a, ~c}, one literal of level 2: learned;
//                      it implies ~c at level 1.
//
// The chain recorded for the learned clause has the reasons in this very order; the literal
// that a reason implied is the pivot. Literals of level 0 are left out of the clause; their
// units come last in the chain.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

namespace {
constexpr std::uint32_t BEST_GLUE = 2;  // clauses up to here are kept for good
constexpr std::uint32_t GOOD_GLUE = 6;  // clauses up to here are kept longer when used
constexpr double DECAY = 0.95;
}  // namespace

// Makes a conflict of the present level out of `conflict`, whose literals are all false:
// goes back to the highest level that it has. Where only one literal has that level, there
// is no conflict before it was assigned: the clause implies its negation further below. (A
// conflict of the theory, which is not kept, is learned from all the same: what is learned
// is that clause, without what is redundant.)
Search::Engine::Preparation Search::Engine::prepare_conflict(ClauseRef conflict) {
  Clause clause = arena_[conflict];
  std::uint32_t highest = 0;
  std::uint32_t count = 0;
  for (const Literal literal : clause) {
    assert(truth(literal) < 0);
    const std::uint32_t its_level = level(literal);
    if (its_level > highest) {
      highest = its_level;
      count = 0;
    }
    if (its_level == highest) count++;
  }
  if (highest == 0) return Preparation::REFUTATION;
  if (count > 1 || clause.kind() == ClauseKind::EXPLANATION) {
    backtrack(highest);
    return Preparation::CONFLICT;
  }
  detach(conflict);
  order_watches(clause.begin(), clause.end());
  attach(conflict);
  backtrack(clause.size() > 1 ? level(clause[1]) : 0);
  assert(truth(clause[0]) == 0);
  assign(clause[0], conflict);
  return Preparation::IMPLICATION;
}

// Puts the two literals to watch first: true ones, else unassigned ones, else those of the
// highest levels.
void Search::Engine::order_watches(Literal* begin, Literal* end) const {
  const auto rank = [&](Literal literal) {
    constexpr std::uint64_t ABOVE_LEVELS = std::uint64_t{1} << 32;
    if (truth(literal) < 0) return std::uint64_t{level(literal)};
    return truth(literal) == 0 ? ABOVE_LEVELS : 2 * ABOVE_LEVELS;
  };
  const std::ptrdiff_t watched = std::min<std::ptrdiff_t>(2, end - begin);
  std::partial_sort(begin, begin + watched, end,
                    [&](Literal a, Literal b) { return rank(a) > rank(b); });
}

void Search::Engine::learn_from(ClauseRef conflict) {
  assert(level() > 0);
  resolve_back(conflict);
  assert(units_.empty() || is_recording());
  statistics_.learned_literals += learned_.size();
  minimise();
  statistics_.minimised_literals += removed_.size();
  if (is_recording()) {
    derive_minimised();
    resolve_units();
  }
  clear_marks();
  learn();
  heap_.decay(DECAY);
}

// Resolves the conflict back to the first unique implication point; fills learned_, with
// the negation of that point first, and begins chain_.
void Search::Engine::resolve_back(ClauseRef conflict) {
  assert(marked_.empty() && units_.empty());
  learned_.assign(1, Literal());
  chain_.clear();
  chain_.first = arena_[conflict].id();
  std::uint32_t open = 0;  // literals of the present level in the clause so far
  visit(conflict, Literal(), open);
  std::size_t position = trail_.size();
  for (;;) {
    assert(open > 0);
    Literal implied;
    do {
      assert(position > 0);
      implied = trail_[--position];
    } while ((marks_[implied.variable()] & IN_CLAUSE) == 0);
    if (--open == 0) {
      learned_[0] = ~implied;
      return;
    }
    marks_[implied.variable()] &= static_cast<std::uint8_t>(~IN_CLAUSE);
    const ClauseRef reason = explained_reason(implied);
    if (is_recording()) chain_.links.push_back({implied, arena_[reason].id()});
    visit(reason, implied, open);
  }
}

// Takes the literals of a clause other than `implied` into the clause so far.
void Search::Engine::visit(ClauseRef ref, Literal implied, std::uint32_t& open) {
  Clause clause = arena_[ref];
  if (clause.kind() == ClauseKind::LEARNED) use_learned(clause);
  for (const Literal literal : clause) {
    const Variable variable = literal.variable();
    if (literal == implied || (marks_[variable] & IN_CLAUSE) != 0) continue;
    assert(truth(literal) < 0);
    const std::uint32_t its_level = variables_[variable].level;
    if (its_level == 0) {
      if (is_recording()) mark_unit(variable);
      continue;
    }
    marks_[variable] |= IN_CLAUSE;
    marked_.push_back(variable);
    heap_.bump(variable);
    if (its_level == level())
      open++;
    else
      learned_.push_back(literal);
  }
}

// A learned clause has part in a conflict: it will survive the next reductions, and its
// glue may have become smaller.
void Search::Engine::use_learned(Clause clause) {
  if (clause.glue() <= BEST_GLUE) return;
  const std::uint32_t now = glue(clause.literals());
  if (now < clause.glue()) clause.set_glue(now);
  clause.set_uses(clause.glue() <= GOOD_GLUE ? 2 : 1);
}

// The number of different levels among the literals, which are all assigned.
std::uint32_t Search::Engine::glue(LiteralSpan literals) {
  stamp_++;
  std::uint32_t levels = 0;
  for (const Literal literal : literals) {
    std::uint64_t& stamp = level_stamps_[level(literal)];
    if (stamp == stamp_) continue;
    stamp = stamp_;
    levels++;
  }
  return levels;
}

// Goes back to where the learned clause implies its first literal, and assigns that.
void Search::Engine::learn() {
  const std::uint32_t its_glue = glue(learned_);
  assert(its_glue >= 1 && its_glue <= learned_.size());
  restarts_.add_conflict(its_glue);
  const ClauseId id = is_recording() ? proofs_.add_chain(chain_) : NO_CLAUSE;
  if (learned_.size() == 1) {
    backtrack(0);
    assign_unit(learned_[0], id);
    return;
  }
  assert(truth(learned_[0]) < 0 && level(learned_[0]) == level());
  order_watches(learned_.data() + 1, learned_.data() + learned_.size());
  assert(truth(learned_[1]) < 0 && level(learned_[1]) < level());
  backtrack(level(learned_[1]));
  const ClauseRef ref = store(learned_, ClauseKind::LEARNED, its_glue, id);
  arena_[ref].set_uses(its_glue <= GOOD_GLUE ? 2 : 1);
  attach(ref);
  assign(learned_[0], ref);
}

void Search::Engine::clear_marks() {
  for (const Variable variable : marked_)
    marks_[variable] = 0;
  marked_.clear();
}

// The assumption `failed` is false. Resolves the reason for that back to the assumptions
// alone: the final clause.
void Search::Engine::analyse_failed_assumption(Literal failed) {
  assert(truth(failed) < 0 && marked_.empty() && units_.empty());
  const VariableState& state = variables_[failed.variable()];
  if (state.level == 0) {
    failed_assumptions_ = {failed};
    if (!is_recording()) return;
    final_clause_ = unit_ids_[failed.variable()];
    if (final_clause_ != NO_CLAUSE) proofs_.hold(final_clause_);
  } else if (state.reason == NO_REF) {  // its negation is an assumption, too
    failed_assumptions_ = {~failed, failed};
  } else {
    resolve_to_assumptions(~failed);
    if (is_recording()) final_clause_ = proofs_.add_chain(chain_);
    add_mark(failed.variable(), ESSENTIAL);
    for (const Literal assumption : assumptions_) {
      std::uint8_t& mark = marks_[assumption.variable()];
      if ((mark & ESSENTIAL) == 0) continue;
      const bool is_of_failed = assumption.variable() == failed.variable();
      if (is_of_failed ? assumption != failed : truth(assumption) < 0) continue;
      failed_assumptions_.push_back(assumption);
      mark = IN_CLAUSE;  // named once
    }
    clear_marks();
  }
}

// Begins chain_ with the reason of `implied` and resolves until decisions only are left,
// which are marked ESSENTIAL.
void Search::Engine::resolve_to_assumptions(Literal implied) {
  const auto take = [&](ClauseRef ref, Literal but) {
    for (const Literal literal : arena_[ref]) {
      const Variable variable = literal.variable();
      if (literal == but) continue;
      if (level(literal) == 0) {
        if (is_recording()) mark_unit(variable);
      } else if ((marks_[variable] & IN_CLAUSE) == 0) {
        marks_[variable] |= IN_CLAUSE;
        marked_.push_back(variable);
      }
    }
  };
  const ClauseRef first = explained_reason(implied);
  chain_.clear();
  chain_.first = arena_[first].id();
  take(first, implied);
  for (std::size_t i = variables_[implied.variable()].position; i-- > trail_limits_[0];) {
    const Literal literal = trail_[i];
    if ((marks_[literal.variable()] & IN_CLAUSE) == 0) continue;
    if (variables_[literal.variable()].reason == NO_REF) {
      marks_[literal.variable()] |= ESSENTIAL;
      continue;
    }
    const ClauseRef reason = explained_reason(literal);
    if (is_recording()) chain_.links.push_back({literal, arena_[reason].id()});
    take(reason, literal);
  }
  if (is_recording()) resolve_units();
}

}  // namespace opal::sat

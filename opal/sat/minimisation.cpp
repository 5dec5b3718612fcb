// Leaves literals out of a learned clause that its other literals imply.
//
// The literal l, false by the reason {~l, r1, ..., rn}, is redundant in a clause when each
// ri is in the clause or is redundant itself: resolving with the reasons then takes l away
// and brings nothing new. What was found out about a variable is marked, so that each is
// looked into once. (Soerensson and Biere, "Minimizing learned clauses", 2009.)
//
//   learned {a, b, c}, c false by {~c, a, d}, d false by {~d, b}:  c goes, {a, b} is left;
//   the chain goes on with (~c, {~c, a, d}), (~d, {~d, b}).

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

// Moves the redundant literals from learned_ to removed_. Needs the marks IN_CLAUSE.
void Search::Engine::minimise() {
  removed_.clear();
  glue(learned_);  // stamps the levels that the clause has
  const auto is_needed = [&](Literal literal) { return !is_redundant(literal); };
  const auto first_redundant =
      std::stable_partition(learned_.begin() + 1, learned_.end(), is_needed);
  removed_.assign(first_redundant, learned_.end());
  learned_.erase(first_redundant, learned_.end());
}

bool Search::Engine::is_redundant(Literal literal) {
  const auto has_known_reason = [&](Variable variable) {
    const ClauseRef reason = variables_[variable].reason;
    return reason != NO_REF && reason != THEORY_REF;
  };
  assert(truth(literal) < 0 && level(literal) > 0);
  if (!has_known_reason(literal.variable())) return false;
  assert(frames_.empty());
  frames_.push_back({literal.variable(), 0});
  while (!frames_.empty()) {
    const Variable here = frames_.back().variable;
    Clause reason = arena_[variables_[here].reason];
    std::uint32_t next = frames_.back().next;
    bool descends = false;
    while (next < reason.size() && !descends) {
      const Variable variable = reason[next++].variable();
      const std::uint32_t its_level = variables_[variable].level;
      if (variable == here || its_level == 0) continue;
      if ((marks_[variable] & (IN_CLAUSE | REDUNDANT)) != 0) continue;
      if ((marks_[variable] & ESSENTIAL) != 0 || !has_known_reason(variable) ||
          level_stamps_[its_level] != stamp_) {
        for (const Frame& frame : frames_)
          add_mark(frame.variable, ESSENTIAL);
        frames_.clear();
        return false;
      }
      frames_.back().next = next;
      frames_.push_back({variable, 0});
      descends = true;
    }
    if (descends) continue;
    add_mark(here, REDUNDANT);
    frames_.pop_back();
  }
  return true;
}

void Search::Engine::add_mark(Variable variable, Mark mark) {
  if (marks_[variable] == 0) marked_.push_back(variable);
  marks_[variable] |= mark;
}

// Appends to chain_ what takes the literals of removed_ away. A variable is resolved after
// all that bring it in: those are later on the trail.
void Search::Engine::derive_minimised() {
  resolved_.clear();
  for (const Literal literal : removed_) {
    marks_[literal.variable()] &= static_cast<std::uint8_t>(~IN_CLAUSE);
    add_mark(literal.variable(), RESOLVED);
    resolved_.push_back(literal.variable());
  }
  for (std::size_t i = 0; i < resolved_.size(); i++) {
    const Variable here = resolved_[i];
    for (const Literal literal : arena_[variables_[here].reason]) {
      const Variable variable = literal.variable();
      if (variable == here || (marks_[variable] & (IN_CLAUSE | RESOLVED)) != 0) continue;
      if (level(literal) == 0) {
        mark_unit(variable);
        continue;
      }
      assert((marks_[variable] & REDUNDANT) != 0);
      add_mark(variable, RESOLVED);
      resolved_.push_back(variable);
    }
  }
  assert(resolved_.size() >= removed_.size());
  std::sort(resolved_.begin(), resolved_.end(), [&](Variable a, Variable b) {
    return variables_[a].position > variables_[b].position;
  });
  for (const Variable variable : resolved_)
    chain_.links.push_back(
        {true_literal(variable), arena_[variables_[variable].reason].id()});
}

}  // namespace opal::sat

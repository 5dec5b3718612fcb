// Between the search and its theory.
//
// What the theory gives during one of its calls is put aside and taken up when the call has
// returned: implied literals first, then lemmas and the conflict. A clause of the theory
// may have any mixture of values and levels; add_theory_clause() says what becomes of it.

#include <algorithm>

#include "opal/sat/engine.h"

namespace opal::sat {

void Search::Engine::imply(Literal literal) {
  assert(state_ == State::SEARCHING);
  assert(literal.variable() < variable_count());
  assert(kinds_[literal.variable()] == VariableKind::ATOM);
  implied_.push_back(literal);
}

void Search::Engine::add_conflict(LiteralSpan clause, Tag tag) {
  gifts_.push_back({GiftKind::CONFLICT, tag, gift_literals_.size(), clause.size()});
  gift_literals_.insert(gift_literals_.end(), clause.begin(), clause.end());
}

void Search::Engine::add_lemma(LiteralSpan clause, Tag tag, Retention retention) {
  const GiftKind kind =
      retention == Retention::KEPT ? GiftKind::LEMMA : GiftKind::REDUCIBLE_LEMMA;
  gifts_.push_back({kind, tag, gift_literals_.size(), clause.size()});
  gift_literals_.insert(gift_literals_.end(), clause.begin(), clause.end());
}

Variable Search::Engine::make_variable(VariableKind kind) { return add_variable(kind); }

void Search::Engine::add_split(Variable variable) {
  statistics_.lemmas++;
  splits_.push_back(variable);
  for (const Literal literal : {Literal(variable), ~Literal(variable)})
    occurrences_[literal.code()]++;
  if (truth(Literal(variable)) == 0) heap_.insert(variable);
}

// Takes back a decision that the theory was not told of, now that something depends on it.
void Search::Engine::wake(Literal literal) {
  if (truth(literal) <= 0 || is_idle_[literal.variable()] == 0) return;
  backtrack(level(literal) - 1);
}

void Search::Engine::suggest_phase(Variable variable, Sign sign) {
  set_phase(variable, sign);
}

Value Search::Engine::value(Literal literal) const {
  return static_cast<Value>(truth(literal));
}

void Search::Engine::tell_theory() {
  assert(head_ == trail_.size());
  for (; theory_head_ < trail_.size(); theory_head_++) {
    const Literal literal = trail_[theory_head_];
    if (kinds_[literal.variable()] == VariableKind::ATOM &&
        is_idle_[literal.variable()] == 0)
      theory_->assert_literal(literal);
  }
}

FinalCheck Search::Engine::final_check() {
  if (theory_ == nullptr) return FinalCheck::CONSISTENT;
  assert(theory_head_ == trail_.size() && gifts_.empty() && implied_.empty());
  if (limits_ != nullptr) limits_->look();
  statistics_.final_checks++;
  const std::size_t splits = splits_.size();
  FinalCheck result = theory_->final_check(*this);
  if (result == FinalCheck::UNKNOWN) reason_unknown_ = theory_->reason_unknown();
  const bool gave = !gifts_.empty() || !implied_.empty() || splits_.size() > splits;
  assert(result != FinalCheck::INCONSISTENT || gave);
  if (result == FinalCheck::CONSISTENT && gave) result = FinalCheck::INCONSISTENT;
  for (std::size_t i = splits; i < splits_.size(); i++)
    for (const Literal literal : {Literal(splits_[i]), ~Literal(splits_[i])})
      wake(literal);
  // An inconsistency found here is seen by the loop of the search.
  static_cast<void>(take_up_gifts());
  return result;
}

// Lemmas first, so that none is lost to what a conflict does; their own conflicts are
// learned from as they come. False when the clauses are found inconsistent.
bool Search::Engine::take_up_gifts() {
  bool consistent = take_up_implications();
  const auto is_conflict = [](const Gift& gift) { return gift.kind == GiftKind::CONFLICT; };
  for (std::size_t i = 0; i < gifts_.size() && consistent; i++)
    if (!is_conflict(gifts_[i])) consistent = take_up(gifts_[i]);
  const auto conflict = std::find_if(gifts_.begin(), gifts_.end(), is_conflict);
  if (conflict != gifts_.end() && consistent) consistent = take_up(*conflict);
  gifts_.clear();
  gift_literals_.clear();
  return consistent;
}

// Takes up the lemmas that an exception has left behind. At level 0.
void Search::Engine::save_lemmas() {
  assert(level() == 0);
  for (std::size_t i = 0; i < gifts_.size() && !inconsistent_; i++)
    if (gifts_[i].kind == GiftKind::LEMMA) static_cast<void>(take_up(gifts_[i]));
  gifts_.clear();
  gift_literals_.clear();
  implied_.clear();
}

// Assigns the implied literals, unexplained. One that is false is explained at once, and
// its explanation is a conflict. At level 0, where proofs do not keep reasons, all are.
bool Search::Engine::take_up_implications() {
  bool consistent = true;
  for (const Literal literal : implied_) {
    if (truth(literal) > 0) continue;
    statistics_.theory_implications++;
    if (truth(literal) == 0 && (level() > 0 || !is_recording())) {
      assign(literal, THEORY_REF);
      continue;
    }
    const bool is_conflict = truth(literal) < 0;
    const Tag tag = explain(literal);
    const bool is_useful = normalise(explanation_);
    assert(is_useful);  // else the literal was true
    static_cast<void>(is_useful);
    consistent = add_theory_clause(explanation_, tag, GiftKind::CONFLICT);
    if (is_conflict) break;
  }
  implied_.clear();
  return consistent;
}

bool Search::Engine::take_up(Gift& gift) {
  const GiftKind kind = gift.kind;
  gift.kind = GiftKind::TAKEN;
  const auto begin = gift_literals_.begin() + static_cast<std::ptrdiff_t>(gift.begin);
  std::vector<Literal> literals(begin, begin + static_cast<std::ptrdiff_t>(gift.size));
  if (!normalise(literals)) return true;
  if (kind == GiftKind::CONFLICT)
    statistics_.theory_conflicts++;
  else
    statistics_.lemmas++;
  return add_theory_clause(literals, gift.tag, kind);
}

// Adds a clause that is normal, whatever values its literals have:
//
//   no literal left after those false at level 0   the clauses are inconsistent
//   one left                                       it is assigned at level 0
//   all false                                      a conflict: learned from
//   all false but one, which is unassigned         implied at the level of the latest
//   else                                           nothing follows now
//
// A CONFLICT is not kept when it is none any more, because other clauses made the search go
// back. False when the clauses are inconsistent.
bool Search::Engine::add_theory_clause(std::vector<Literal>& literals, Tag tag,
                                       GiftKind kind) {
  ClauseId id = NO_CLAUSE;
  if (is_recording()) id = proofs_.add_leaf(resolution::NodeKind::LEMMA, literals, tag);
  id = without_false_units(id, literals);
  if (literals.empty()) {
    become_inconsistent(id);
    return false;
  }
  if (literals.size() == 1) {
    backtrack(0);
    assign_unit(literals[0], id);
    return true;
  }
  if (kind == GiftKind::LEMMA)
    for (const Literal literal : literals)
      wake(literal);
  order_watches(literals.data(), literals.data() + literals.size());
  assert(truth(literals[0]) >= 0 || level(literals[0]) >= level(literals[1]));
  const bool is_conflict = truth(literals[0]) < 0;
  if (kind == GiftKind::CONFLICT && !is_conflict) {
    if (is_recording()) proofs_.release(id);
    return true;
  }
  if (kind == GiftKind::CONFLICT) return use_conflict(literals, id);
  const ClauseRef ref =
      store(literals, kind == GiftKind::LEMMA ? ClauseKind::LEMMA : ClauseKind::LEARNED,
            static_cast<std::uint32_t>(literals.size()), id);
  attach(ref);
  if (is_conflict) return handle_conflict(ref);
  if (truth(literals[0]) == 0 && truth(literals[1]) < 0) {
    backtrack(level(literals[1]));
    assign(literals[0], ref);
  }
  return true;
}

// Learns from a conflict of the theory, which is not kept itself.
bool Search::Engine::use_conflict(LiteralSpan literals, ClauseId id) {
  assert(conflict_in_use_ == NO_REF);
  conflict_in_use_ = store(literals, ClauseKind::EXPLANATION, 0, id);
  const bool consistent = handle_conflict(conflict_in_use_);
  remove(conflict_in_use_);
  conflict_in_use_ = NO_REF;
  return consistent;
}

// Asks the theory why `literal` holds; explanation_ gets the clause.
Tag Search::Engine::explain(Literal literal) {
  statistics_.explanations++;
  explanation_.clear();
  const Tag tag = theory_->explain(literal, explanation_);
  assert(std::count(explanation_.begin(), explanation_.end(), literal) == 1);
  return tag;
}

// The reason of a literal that is true and was not decided; a literal that the theory
// implied is explained if it was not yet.
ClauseRef Search::Engine::explained_reason(Literal literal) {
  assert(truth(literal) > 0);
  const ClauseRef reason = variables_[literal.variable()].reason;
  assert(reason != NO_REF);
  if (reason != THEORY_REF) return reason;
  const Tag tag = explain(literal);
  std::sort(explanation_.begin(), explanation_.end());
  explanation_.erase(std::unique(explanation_.begin(), explanation_.end()),
                     explanation_.end());
  assert(std::all_of(explanation_.begin(), explanation_.end(), [&](Literal other) {
    return other == literal ||
           (truth(other) < 0 && variables_[other.variable()].position <
                                    variables_[literal.variable()].position);
  }));
  ClauseId id = NO_CLAUSE;
  if (is_recording()) id = proofs_.add_leaf(resolution::NodeKind::LEMMA, explanation_, tag);
  const ClauseRef ref = store(explanation_, ClauseKind::EXPLANATION, 0, id);
  variables_[literal.variable()].reason = ref;
  is_explained_[literal.variable()] = 1;
  return ref;
}

// Removes the explanation that is the reason of `variable`.
void Search::Engine::drop_explanation(Variable variable) {
  assert(is_explained_[variable] != 0);
  assert(arena_[variables_[variable].reason].kind() == ClauseKind::EXPLANATION);
  remove(variables_[variable].reason);
  variables_[variable].reason = NO_REF;
  is_explained_[variable] = 0;
}

}  // namespace opal::sat

#include <cassert>
#include <utility>

#include "opal/smt/arithmetic_impl.h"

// Equalities and their sides.
//
// Of an equality f = c the search is free to decide, the atoms f <= c and f >= c are made
// too. It implies both, and the bounds are set on their behalf, not on its own:
//
//     f = c   implies   f <= c,  f >= c          each of them sets a bound
//     f <= c and f >= c   imply   f = c          as bounds do that meet
//
// Conflicts mostly need one side only. What is learned from f <= c holds as well when that
// is true for another reason, where what is learned from f = c would be of no use.
//
// f < c and f > c, their denials, are what a disequality leaves. Choosing between them is
// not the clauses' affair until the last check finds that it has to be.

namespace opal::smt {

using la::LinearTerm;

void ArithmeticTheory::Impl::make_sides(sat::Variable atom, Consequences& consequences) {
  const Literal literal(atom);
  if (consequences.value(literal) != sat::Value::UNASSIGNED) return;
  using Kind = Meaning::Kind;
  const bool is_positive = table_.meaning(literal).kind == Kind::EQUAL;
  if (!is_positive && table_.meaning(~literal).kind != Kind::EQUAL) return;
  const Meaning meaning = table_.meaning(is_positive ? literal : ~literal);
  LinearTerm term = mapper_.constraint_term(meaning.constraint);
  term.kind = LinearTerm::LEQ;
  Literal first = atoms_.literal(term, consequences);
  term.kind = LinearTerm::GEQ;
  Literal second = atoms_.literal(term, consequences);
  if (table_.meaning(first).kind != Kind::UPPER) std::swap(first, second);
  assert(table_.meaning(first).var == meaning.var &&
         table_.meaning(first).value == meaning.value);
  assert(table_.meaning(second).kind == Kind::LOWER);
  sides_[atom].at_most = first;
  sides_[atom].at_least = second;
}

// Implies the sides of equalities.
bool ArithmeticTheory::Impl::propagate_sides(Consequences& consequences) {
  assert(equalities_head_ <= equalities_.size());
  bool implied = false;
  for (; equalities_head_ < equalities_.size(); ++equalities_head_) {
    const Literal equality = equalities_[equalities_head_];
    const Sides sides = sides_[equality.variable()];
    if (!sides.at_most.is_valid()) continue;
    implied |= imply_side(sides.at_most, equality, consequences);
    if (conflict_.empty()) implied |= imply_side(sides.at_least, equality, consequences);
    if (!conflict_.empty()) return implied;
  }
  return implied;
}

// Implies a side. One that has a value already of which the theory was not told sets its
// bound on the equality's behalf.
bool ArithmeticTheory::Impl::imply_side(Literal side, Literal equality,
                                        Consequences& consequences) {
  assert(is_asserted_[equality.code()] != 0);
  if (is_asserted_[side.code()] != 0) return false;
  const Ground ground = make_ground(equality);
  const bool is_denied = is_asserted_[(~side).code()] != 0;
  if (is_denied || consequences.value(side) == sat::Value::UNASSIGNED)
    return imply(side, ground, consequences);
  const Meaning& meaning = table_.meaning(side);
  set_bound(meaning.var, meaning.kind == Meaning::Kind::UPPER ? Side::UPPER : Side::LOWER,
            meaning.value, ground);
  return false;
}

// Sets the bounds of equalities whose sides were implied to no effect, because a limit
// ended the call. False when there is a contradiction.
bool ArithmeticTheory::Impl::complete_equalities() {
  for (const Literal equality : equalities_) {
    const Sides& sides = sides_[equality.variable()];
    if (sides.at_most.is_valid() && (is_asserted_[sides.at_most.code()] == 0 ||
                                     is_asserted_[sides.at_least.code()] == 0))
      set_both_bounds(equality);
    if (!conflict_.empty()) return false;
  }
  return true;
}

}  // namespace opal::smt

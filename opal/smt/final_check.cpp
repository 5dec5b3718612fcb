#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/smt/arithmetic_impl.h"

// The last look: disequalities, integers, and the model.
//
// Disequalities. Where the values of the simplex violate f /= c, one of f < c and f > c is
// set as a bound for the time being, whichever is consistent, and the search for values
// goes on. When neither is, both are tried without the bounds of other disequalities. If
// both fail again, their grounds and the disequality are a conflict. Over the rationals
// they do: a half that was consistent leaves of the feasible set a part that spans the same
// affine space, so that f = c on all of the part means f = c on the whole. Only the halves
// of integers, f <= c - 1 and f >= c + 1, may leave less; then a lemma splits,
//
//     f = c  or  f <= c - 1  or  f >= c + 1
//
// Integers. See integer_check.cpp.

namespace opal::smt {

using host::BoundSimplex;
using host::DeltaNumber;
using la::LinearTerm;
using sat::FinalCheck;

FinalCheck ArithmeticTheory::Impl::final_check(Consequences& consequences) {
  assert(conflict_.empty());
  ++statistics.checks;
  if (!complete_equalities() || !simplex_.check()) {
    if (conflict_.empty()) fail(simplex_.conflict());
    give_conflict(consequences);
    return FinalCheck::INCONSISTENT;
  }
  int fraction = BoundSimplex::NONE;
  {
    const Scope scope(*this);
    if (separate(scope.level, consequences) != Separation::DONE)
      return FinalCheck::INCONSISTENT;
    simplex_.complete_values();
    fraction = fractional();
    if (fraction == BoundSimplex::NONE) {
      save_model();
      return FinalCheck::CONSISTENT;
    }
  }
  return check_integers(fraction, consequences);
}

// Sets bounds until the values satisfy all disequalities.
ArithmeticTheory::Impl::Separation ArithmeticTheory::Impl::separate(
    const Level& base, Consequences& consequences) {
  for (bool changed = true; changed;) {
    changed = false;
    for (const Literal literal : disequalities_) {
      limits_.poll();
      const Meaning& meaning = table_.meaning(literal);
      if (!(simplex_.value(meaning.var) == meaning.value)) continue;
      changed = true;
      if (add_half(meaning, Side::UPPER) || add_half(meaning, Side::LOWER)) continue;
      return separate_alone(literal, base, consequences);
    }
  }
  return Separation::DONE;
}

// Sets the half of a disequality that bounds on this side. When it is inconsistent it is
// taken back, and the grounds of the conflict, less its own, are added to reasons_.
bool ArithmeticTheory::Impl::add_half(const Meaning& disequality, Side side) {
  const Level level = height();
  const Ground ground = begin_ground();
  const auto outcome = simplex_.set_bound(
      disequality.var, side,
      beyond(disequality.value, side, forms_.is_integer(disequality.var)), ground);
  // The value of the form is within its bounds, and no bound is at the value of a
  // disequality.
  assert(outcome == BoundSimplex::Outcome::SET);
  static_cast<void>(outcome);
  if (simplex_.check()) return true;
  for (const Ground reason : simplex_.conflict())
    if (reason != ground) reasons_.push_back(reason);
  retract(level);
  return false;
}

// A disequality neither half of which is consistent with those of others.
ArithmeticTheory::Impl::Separation ArithmeticTheory::Impl::separate_alone(
    Literal literal, const Level& base, Consequences& consequences) {
  assert(is_asserted_[literal.code()] != 0);
  retract(base);
  reasons_.clear();
  const Meaning meaning = table_.meaning(literal);
  if (add_half(meaning, Side::UPPER) || add_half(meaning, Side::LOWER)) {
    retract(base);
    split(meaning, literal, consequences);
    return Separation::SPLIT;
  }
  ++statistics.row_conflicts;
  fail(reasons_);
  conflict_.push_back(literal);
  give_conflict(consequences);
  return Separation::CONFLICT;
}

LinearTerm ArithmeticTheory::Impl::half(const Meaning& disequality, Side side) const {
  LinearTerm term = mapper_.constraint_term(disequality.constraint);
  assert(term.kind == LinearTerm::NEQ);
  const bool upper = side == Side::UPPER;
  if (forms_.is_integer(disequality.var)) {
    term.kind = upper ? LinearTerm::LEQ : LinearTerm::GEQ;
    term.constant += QNumber(upper ? -1 : 1);
  } else {
    term.kind = upper ? LinearTerm::LT : LinearTerm::GT;
  }
  return term;
}

void ArithmeticTheory::Impl::split(const Meaning& disequality, Literal literal,
                                   Consequences& consequences) {
  ++statistics.disequality_splits;
  clause_.assign(1, ~literal);
  for (const Side side : {Side::UPPER, Side::LOWER})
    clause_.push_back(atoms_.literal(half(disequality, side), consequences));
  consequences.add_lemma(clause_, TAG, sat::Retention::KEPT);
}

// An integer variable (its place among the structural ones) whose value is none, or NONE.
int ArithmeticTheory::Impl::fractional() const {
  const auto& structurals = forms_.structurals();
  const auto found =
      std::find_if(structurals.begin(), structurals.end(), [&](const auto& structural) {
        if (!forms_.is_integer(structural.var)) return false;
        const DeltaNumber& value = simplex_.value(structural.var);
        return !value.strict.is_zero() || !value.real.is_integer();
      });
  return found == structurals.end() ? BoundSimplex::NONE
                                    : static_cast<int>(found - structurals.begin());
}

// A value for the infinitesimal with which the values satisfy every bound and disequality:
// at most 1 and below every value at which one would start or stop to hold.
QNumber ArithmeticTheory::Impl::choose_epsilon() const {
  QNumber epsilon(1);
  const auto narrow = [&](const DeltaNumber& gap) {
    // real + strict * epsilon is 0 at epsilon = -real / strict.
    if (gap.strict.is_zero() || gap.real.sign() * gap.strict.sign() >= 0) return;
    const QNumber limit = (gap.real / gap.strict).neg();
    if (limit <= epsilon) epsilon = (limit.inv().floor() + QNumber(1)).inv();
  };
  for (std::size_t i = 0; i < simplex_.height(); ++i) {
    const BoundSimplex::Bound& bound = simplex_.bound(i);
    DeltaNumber gap = bound.value;
    gap -= simplex_.value(bound.var);
    narrow(gap);
  }
  for (const Literal literal : disequalities_) {
    const Meaning& meaning = table_.meaning(literal);
    DeltaNumber gap = meaning.value;
    gap -= simplex_.value(meaning.var);
    narrow(gap);
  }
  assert(epsilon.sign() > 0);
  return epsilon;
}

void ArithmeticTheory::Impl::save_model() {
  const QNumber epsilon = choose_epsilon();
  model.clear();
  for (const LinearForms::Structural& structural : forms_.structurals()) {
    const auto index = static_cast<std::size_t>(structural.mapper_var);
    if (index >= model.size()) model.resize(index + 1);
    const DeltaNumber& value = simplex_.value(structural.var);
    model[index] = value.real + value.strict * epsilon;
    model[index].shrink();
  }
}

}  // namespace opal::smt

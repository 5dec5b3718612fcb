// Cuts, expressed by floor terms.
//
// The rule is that of tightening.cpp; k is the common divisor g of the coefficients of C.
//
// Partial interpolant: A's part of C, divided by g and rounded. Write it as
// g*P + Q + c >= 0, where P has the variables whose coefficients g divides, or which B does
// not know, and Q the others, which are shared. Then P + (Q + c)/g >= 0, and since P is an
// integer, P + floor((Q + c)/g) >= 0. (Where g divides the coefficient in C but not the one
// in A's part, B's part has the variable too.)
//
// Likewise B's part, -Q + g*P' + c' >= 0 with integral P', gives P' + floor((c' - Q)/g).
// Two numbers rounded down add up to no more than their sum rounded down, so the two add
// up to no more than the cut, which is all that the rest of the proof needs.
//
// Example: A has y - 2x >= 0, B has y - 2z - 1 >= 0. The sum is cut to y - x - z - 1 >= 0.
// A's part is [-x + w >= 0] with w = floor(1/2 * (1*y)).
//
// When Q is empty, the constant is rounded by itself.
//
// An atom that both sides own counts as A's.
//
// Cost: linear in the premises' sizes, times the number of premises.

#include <cassert>
#include <utility>

#include "opal/la/interpolator.h"

namespace opal::la {

void Interpolator::handle_tightproof_floor(laz::LaZTighteningProof* p, TermSet& /*vars*/) {
  assert(!to_visit_.empty() && to_visit_.back() == p);
  to_visit_.pop_back();
  check_cut(*p);
  const int conclusion = p->constraints.back();
  const TheoryLit lit =
      literal_in_cut(conclusion, "unknown constraint in LaZTighteningProof");
  Equation* const all = own(*get_as_rhs(conclusion, 0));
  Equation* const of_A = own(zero_eq_);
  if (may_be_of_A(classify(lit.atom())))
    add_multiple(of_A, QNumber(1), get_as_rhs(conclusion, 0));
  const int direction = direction_of(*p);
  for (std::size_t i = 0; i + 1 < p->constraints.size(); ++i) {
    const TheoryLit premise =
        literal_in_cut(p->constraints[i], "unknown premise in LaZTighteningProof");
    const auto status = classify(premise.atom());
    Equation* const e = premise_of(*p, i, direction);
    const QNumber weight = abs(p->coeffs[i]);
    add_multiple(all, weight, e);
    if (may_be_of_A(status)) add_multiple(of_A, weight, e);
  }
  QNumber divisor;
  for (const auto& pair : all->coeffs())
    divisor = gcd(divisor, pair.second);
  if (divisor.is_zero()) fail("constraint without variables in LaZTighteningProof");
  store_single(p, own(round_shared_part(*of_A, divisor)));
}

bool Interpolator::may_be_of_A(itp::TheoryAtomClassifier::status s) {
  const bool is_A = classifier_->is_A_colorable(s);
  if (!is_A && !classifier_->is_B_colorable(s)) fail("AB-mixed term in LaHyp");
  return is_A;
}

Equation Interpolator::round_shared_part(const Equation& e, const QNumber& g) {
  assert(g.sign() > 0);
  const BuildingFlagScope as_asked_for(*mgr_, 0);
  Equation rounded;
  std::vector<std::pair<QNumber, const Term_*>> fractions;
  for (const auto& [var, coeff] : e.coeffs()) {
    const Term_* const x = term_of(var);
    const QNumber q = coeff / g;
    const auto status = classifier_->classify(x, false);
    if (q.is_integer() || !classifier_->is_B_colorable(status))
      rounded.add_var(q, var);
    else
      fractions.emplace_back(q, x);
  }
  if (e.constant() != nullptr) {
    const QNumber q = *e.constant() / g;
    if (fractions.empty() || q.is_integer())
      rounded.add_const(q.floor());
    else
      fractions.emplace_back(q, nullptr);
  }
  assert(rounded.is_normal());
  if (!fractions.empty()) rounded.add_var(QNumber(1), floor_variable(fractions));
  return rounded;
}

int Interpolator::floor_variable(
    const std::vector<std::pair<QNumber, const Term_*>>& summands) {
  assert(mgr_->building_flag() == 0 && !summands.empty());
  QNumber denominator(1);
  for (const auto& summand : summands)
    denominator = lcm(denominator, summand.first.get_den());
  const Term_* sum = nullptr;
  for (const auto& [q, x] : summands) {
    assert((q * denominator).is_integer());
    const Term_* t = mgr_->make_number(q * denominator);
    if (x != nullptr) t = mgr_->make_times(t, x);
    sum = sum == nullptr ? t : mgr_->make_plus(sum, t);
  }
  assert(sum != nullptr && denominator.sign() > 0);
  const Term_* const quotient = mgr_->make_times(mgr_->make_number(denominator.inv()), sum);
  const int var = mapper_->term_def_var(mgr_->make_floor(quotient));
  if (var == 0) fail("no variable for a floor term");
  return var;
}

}  // namespace opal::la

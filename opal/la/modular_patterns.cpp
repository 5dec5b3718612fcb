// What integer variables of one side leave behind: congruences.
//
//     s + a1*x1 + ... + an*xn + c = 0      x1 ... xn integers that B does not know,
//     -------------------------------      s a linear term that it knows
//          s = -c  modulo g                g = gcd(a1, ..., an)
//
// Sound, and no weaker than need be: the integers a1*x1 + ... + an*xn are exactly the
// multiples of g. Without x's, what remains is the equality s = -c itself.
//
// Example: 2x + 3y - 4 = 0, where B knows y only, leaves 3y = 0 modulo 2.
//
// A variable is B's when the classifier says so of its term, whatever the atoms are.
//
// Cost: one pass over the coefficients.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

QNumber minus_constant(const Equation& e) {
  return e.constant() == nullptr ? QNumber() : e.constant()->neg();
}

// The least factor that makes every coefficient an integer.
QNumber common_denominator(const Equation& e) {
  QNumber result(1);
  for (const auto& pair : e.coeffs())
    result = lcm(result, pair.second.get_den());
  assert(result.sign() > 0 && result.is_integer());
  return result;
}

}  // namespace

Interpolator::LaZLeqPattern Interpolator::build_laz_leq_pattern(Equation* e) {
  assert(e != nullptr && e != &zero_eq_ && e->is_normal());
  const QNumber scale = common_denominator(*e);
  QNumber divisor;
  for (const auto& pair : e->coeffs())
    divisor = gcd(divisor, pair.second * scale);
  QNumber factor(1);
  if (!divisor.is_zero()) {
    factor = scale / divisor;
    e->mult(factor);
  }
  assert(factor.sign() > 0 && common_denominator(*e) == QNumber(1));
  return {build_leq_term(e, false), factor};
}

Interpolator::LaZModEqPattern Interpolator::build_laz_mod_eq_pattern(Equation* e) {
  const QNumber scale = common_denominator(*e);
  e->mult(scale);
  assert(common_denominator(*e) == QNumber(1));
  const SharedPart shared = split_off_shared_part(*e);
  const Symbol* const symbol =
      shared.local_gcd.is_zero()
          ? mgr_->make_equality_symbol(mgr_->integer_type())
          : mgr_->make_int_modular_congruence_symbol(shared.local_gcd);
  return {shared.term != nullptr ? shared.term : mgr_->make_number(0), symbol, shared.gcd,
          minus_constant(*e), scale};
}

const Term_* Interpolator::build_laz_mod_eq_term(Equation* e) {
  const SharedPart shared = split_off_shared_part(*e);
  const QNumber& modulus = shared.local_gcd;
  const QNumber value = minus_constant(*e);
  assert(modulus.sign() >= 0);
  if (shared.term == nullptr) {
    const bool holds = modulus.is_zero() ? value.is_zero() : modulus.divides(value);
    return holds ? mgr_->true_term() : mgr_->false_term();
  }
  if (modulus.is_zero()) return mgr_->make_equal(shared.term, mgr_->make_number(value));
  QNumber quotient, residue;
  value.divmod(modulus, quotient, residue);
  return mgr_->make_int_modular_congruence(modulus, shared.term,
                                           mgr_->make_number(residue));
}

Interpolator::SharedPart Interpolator::split_off_shared_part(const Equation& e) {
  assert(classifier_ != nullptr && e.is_normal());
  SharedPart shared;
  for (const auto& [var, coeff] : e.coeffs()) {
    const Term_* const x = mapper_->var_term(var);
    if (x == nullptr) fail("unknown variable in LA(Z) Equation");
    shared.gcd = gcd(shared.gcd, coeff);
    if (classifier_->is_B_colorable(classifier_->classify(x, false))) {
      const Term_* const product = mgr_->make_times(mgr_->make_number(coeff), x);
      shared.term =
          shared.term == nullptr ? product : mgr_->make_plus(shared.term, product);
    } else {
      shared.local_gcd = gcd(shared.local_gcd, coeff);
    }
  }
  assert(shared.gcd.is_zero() == e.coeffs().empty());
  assert(shared.local_gcd.is_zero() || shared.gcd.divides(shared.local_gcd));
  return shared;
}

}  // namespace opal::la

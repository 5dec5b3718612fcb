// Equalities without integer solution.
//
//     e1 = 0  ...  en = 0
//     -------------------  m1*e1 + ... + mn*en has integer coefficients and a constant that
//            false         is no integer
//
// Interpolant: let E be the part of the sum that A's equalities make up, and L the least
// common denominator of all multipliers. A implies L*E = 0, and of it keeps what its shared
// part has to satisfy (modular_patterns.cpp), a congruence modulo some g. The coefficients
// of A's own variables in E are integers, since nothing of B's adds to them: so L divides
// g. Modulo L, the whole sum times L has only its constant left, which is not 0: B's part
// contradicts the congruence.
//
// When E has integer coefficients, it is left as it is: its constant is an integer too, or
// else A alone would be contradictory, and a proof of that has A's equalities only.
//
// Example: A has x = 2y, B has x = 2z + 1. 1/2 * (x - 2y) - 1/2 * (x - 2z - 1) is
// -y + z + 1/2. E = x/2 - y, L = 2, L*E = x - 2y, and the interpolant is x = 0 modulo 2.
//
// An atom that both sides own counts as A's.
//
// Cost: linear in the equalities' sizes, times the number of equalities.

#include <algorithm>
#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

const Term_* Interpolator::get_interpolant_from_laz_eqproof(laz::LaZEqSubProof* p) {
  if (p->coeffs.size() < p->constraints.size()) fail("missing multiplier in LaZEqSubProof");
  QNumber denominator(1);
  Equation* const sum = own(Equation());
  bool has_A = false, has_B = false;
  for (std::size_t i = 0; i < p->constraints.size(); ++i) {
    const int id = p->constraints[i];
    const QNumber& multiplier = p->coeffs[i];
    const TheoryLit lit = to_lit(id);
    denominator = lcm(denominator, multiplier.get_den());
    if (lit.has_no_atom()) fail("unknown constraint in LaZEqSubProof");
    if (!classifier_->is_A_colorable(classify(lit.atom()))) {
      has_B = true;
      continue;
    }
    has_A = true;
    add_multiple(sum, abs(multiplier), get_as_rhs(id, multiplier.sign() < 0 ? -1 : 1));
  }
  if (!has_A) return mgr_->true_term();
  if (!has_B) return mgr_->false_term();
  assert(sum->is_normal() && denominator.sign() > 0);
  const auto is_integral = [](const auto& pair) { return pair.second.is_integer(); };
  if (!std::all_of(sum->coeffs().begin(), sum->coeffs().end(), is_integral))
    sum->mult(denominator);
  return build_laz_mod_eq_term(sum);
}

}  // namespace opal::la

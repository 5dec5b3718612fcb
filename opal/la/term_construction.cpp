// Coefficient lists become terms.
//
// In the summing modes the interpolant is one inequality, the weighted sum of the root's
// list; in MODE_CONJ it is the conjunction of the list's inequalities. Each follows from
// A; together with B's part of the root's sum, both give the contradiction. When cuts left
// variables of their own in the list, it is summed in every mode, and the variables are
// replaced by their values (cut_values.cpp).
//
// A constraint 5 - x - 2y >= 0 is built as 0 <= (-1*x + -2*y) + 5, variables in the order
// of their ids, with nothing simplified; a strict constraint x - 3 - delta >= 0 as
// not((1*x + -3) <= 0). The strictness variable never reaches a term.
//
// Cost: linear in the list's constraints in MODE_CONJ; the sum adds a factor of the
// logarithm of the list's length.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

const Term_* Interpolator::build_leq_term(const Equation* e, bool as_atom) {
  assert(e != nullptr && e->is_normal());
  const Term_* sum = nullptr;
  int strictness = 0;  // the sign of the strictness variable's coefficient
  {
    const BuildingFlagScope as_asked_for(*mgr_, 0);
    auto add = [&](const Term_* t) { sum = sum == nullptr ? t : mgr_->make_plus(sum, t); };
    for (const auto& [var, coeff] : e->coeffs()) {
      if (var == delta_var_) {
        strictness = coeff.sign();
        continue;
      }
      const Term_* const term = term_of(var);
      add(mgr_->make_times(mgr_->make_number(coeff), term));
    }
    if (e->constant() != nullptr) add(mgr_->make_number(*e->constant()));
  }
  const QNumber* const constant = e->constant();
  if (sum == nullptr && strictness == 0)
    return as_atom ? mgr_->true_term() : mgr_->make_number(0);
  const bool only_strictness = e->coeffs().size() == 1 && strictness != 0;
  if (only_strictness && (constant == nullptr || constant->sign() == strictness))
    return strictness < 0 ? mgr_->false_term() : mgr_->true_term();
  assert(sum != nullptr);
  if (strictness < 0) return mgr_->make_not(mgr_->make_leq(sum, mgr_->make_number(0)));
  return as_atom ? mgr_->make_leq(mgr_->make_number(0), sum) : sum;
}

const Term_* Interpolator::build_term_from_eq_list(CoeffList& list) {
  if (mode_ == MODE_CONJ && tight_vars_.empty()) {
    const Term_* result = mgr_->true_term();
    for (const auto& pair : list)
      result = mgr_->make_and(result, build_leq_term(pair.second, true));
    return result;
  }
  CoeffList sum = list;
  fold(sum);
  assert(sum.size() == 1);
  if (!tight_vars_.empty()) return build_term_without_cuts(*sum.front().second);
  return build_leq_term(sum.front().second, true);
}

}  // namespace opal::la

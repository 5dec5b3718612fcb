// Hypotheses on the two halves of an equality.
//
//     a = t  (A's)        b = t  (B's)
//     --------------------------------
//                a = b
//
// A hypothesis on a = b, or on a != b, that a proof uses in one direction is the sum of one
// on a = t and one on b = t in the same direction:
//
//     b - a >= 0   =   (t - a >= 0)  +  (b - t >= 0)
//     a - b >= 0   =   (a - t >= 0)  +  (t - b >= 0)
//
// The two on the right are no constraints that the mapper hands out, so each carries its
// own. Which line applies follows from the hypothesis's sign and from the mapper's linear
// term, which may be b - a or a - b: at least on b - a, and at most on a - b, are the first
// line. For a disequality both are strict.
//
// Example: a != b, handed out as b - a != 0, sign -1, t = x + 1. The mapper's constraint is
// a - b - delta >= 0; the fake hypotheses are a - x - 1 - delta >= 0 of A and
// x + 1 - b - delta >= 0 of B.
//
// Sound since t occurs with opposite signs: the two add up to what they replace (a strict
// one twice as strict, which makes no difference), and each follows from the equality that
// it stands for.
//
// Cost: linear in the sides and in t.

#include <cassert>
#include <memory>

#include "opal/la/interpolator.h"

namespace opal::la {

std::pair<LaFakeHyp*, LaFakeHyp*> Interpolator::make_fake_hyp(const Term_* a,
                                                              const Term_* b,
                                                              const Term_* t, LaHyp* hyp,
                                                              Equation* eq_x,
                                                              Equation* eq_y) {
  assert(a != nullptr && b != nullptr && t != nullptr && hyp != nullptr);
  assert(eq_x != nullptr && eq_y != nullptr);
  const LinearTerm lt = linear_term_of(hyp->constraint_id);
  Equation ea, eb;
  const bool is_b_minus_a = make_linear_exprs(a, b, lt, ea, eb);
  const int id_a = mapper_->atom_constraint(make_interface_equality(mgr_, a, t));
  const int id_b = mapper_->atom_constraint(make_interface_equality(mgr_, b, t));
  const bool at_least_b_minus_a = is_b_minus_a == (hyp->sign >= 0);
  const Equation* const source = is_b_minus_a ? eq_x : eq_y;
  std::unique_ptr<Equation> of_A(source->new_copy());
  std::unique_ptr<Equation> of_B(source->new_copy());
  (at_least_b_minus_a ? of_B : of_A)->mult(QNumber(-1));
  add_equation(of_A.get(), QNumber(at_least_b_minus_a ? -1 : 1), ea);
  add_equation(of_B.get(), QNumber(at_least_b_minus_a ? 1 : -1), eb);
  if (lt.kind == LinearTerm::NEQ) {
    of_A->add_var(QNumber(-1), delta_var_);
    of_B->add_var(QNumber(-1), delta_var_);
  }
  assert(of_A->is_normal() && of_B->is_normal());
  proof::Counted<LaFakeHyp> fake_a(new LaFakeHyp(id_a, hyp->sign, of_A.release()));
  auto* const fake_b = new LaFakeHyp(id_b, hyp->sign, of_B.release());
  return {fake_a.take(), fake_b};
}

LaHyp* Interpolator::get_zero_proof() {
  constexpr int ZERO_PROOF_CONSTRAINT = -1;
  if (zero_proof_ == nullptr) zero_proof_ = new LaHyp(ZERO_PROOF_CONSTRAINT, 0);
  assert(zero_proof_->references() > 0 && zero_proof_->sign == 0);
  return zero_proof_;
}

}  // namespace opal::la

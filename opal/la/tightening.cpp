// Cuts, expressed by the values that A's part of them can take.
//
//     e >= 0      f1 >= 0  ...  fn >= 0
//     ---------------------------------   C = e + |m1|*f1 + ... + |mn|*fn = k*D + c >= 0,
//           D + floor(c/k) >= 0           k > 0 divides every coefficient of C
//
// The conclusion e is one of the combined constraints. All of them are over integers.
//
// Partial interpolant: let A be the part of C that A's constraints make up, B the rest,
// and r = c mod k. A and B together give A + B >= 0; with A + B = c = r modulo k it follows
// that A + B >= r, which is k times the cut. So the cut holds as soon as A's value above r
// does not matter: there is a t in 0 .. r with
//
//     t < r  and  A = t,      or      t = r  and  A >= r,
//
// and (A - t)/k >= 0 in either case. t is a variable of the list from here on; r and A are
// remembered in tight_vars_. When the list has become a sum, cut_values.cpp replaces t by
// its values 0 .. r, each but r together with what A = t says of the shared variables.
// Conversely each value of t gives (A - t)/k + (B - r + t)/k as the cut. If t = r, the
// second summand is B/k, which B makes up. If t < r, A + B = r modulo k lets B be at least
// r - t as soon as it is not negative, since A = t.
//
// Example: A has y - 2x >= 0 and 2x - y >= 0 (y is even), B has y - 2z - 1 >= 0 and
// 2z + 1 - y >= 0 (y is odd). The first of each add up to 2y - 2x - 2z - 1 >= 0, which is
// cut by k = 2 to y - x - z - 1 >= 0; the others add up to 2x + 2z - 2y + 1 >= 0, which is
// cut to x + z - y >= 0. The cuts contradict each other. The first has r = 1 and the list
// [(y - 2x - t)/2 >= 0], the second r = 1 and [(2x - y - u)/2 >= 0]. The sum of the lists
// is -t/2 - u/2 >= 0, which leaves t = u = 0, and the interpolant is
//
//     (y = 0 mod 2 and -y = 0 mod 2 and true) or (y = 0 mod 2 and false) or ... or false.
//
// Without the values, A's part would be 0 >= 0, which does not contradict B.
//
// Simpler cases: a cut of B alone contributes nothing, a cut of A alone is A's. When every
// variable of C and of B is shared, the cut is stated as it is, under B >= 0 as a premise
// of the interpolant: that holds in B, and with it A implies the cut.
//
// An atom that both sides own counts as B's.
//
// Cost: linear in the premises' sizes, times the number of premises. The enumeration costs
// what cut_values.cpp says.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

QNumber constant_of(const Equation& e) {
  return e.constant() == nullptr ? QNumber() : *e.constant();
}

// Divides e by k and rounds its constant down.
void tighten(Equation& e, const QNumber& k) {
  const QNumber c = constant_of(e);
  e.add_const(c.neg());
  e.mult(k.inv());
  e.add_const((c / k).floor());
}

}  // namespace

void Interpolator::handle_tightproof(laz::LaZTighteningProof* p, TermSet& vars) {
  to_visit_.pop_back();
  check_cut(*p);
  const char* const mixed = "AB-mixed term in LaHyp";
  const int conclusion = p->constraints.back();
  bool a_only =
      is_constraint_of_A(to_lit(conclusion), "unknown constraint in LaHyp", mixed, vars);
  bool b_only = !a_only;
  const Equation own_constraint = *get_as_rhs(conclusion, 0);
  const CutSums sums{own(own_constraint), own(a_only ? own_constraint : zero_eq_),
                     own(a_only ? zero_eq_ : own_constraint)};
  for (std::size_t i = 0; i + 1 < p->constraints.size(); ++i) {
    const bool of_A = is_constraint_of_A(
        to_lit(p->constraints[i]), "unknown premise in LaZTighteningProof", mixed, vars);
    (of_A ? b_only : a_only) = false;
    add_premise(*p, i, sums.all, of_A ? sums.of_A : sums.of_B);
  }
  const QNumber& k = p->divisor;
  if (k.sign() < 0) throw error("negative divisor in LaZTighteningProof", true);
  if (b_only) {
    store_single(p, get_zero());
  } else if (a_only || (is_shared(*sums.all) && is_shared(*sums.of_B))) {
    if (!k.is_zero()) tighten(*sums.all, k);
    if (!a_only) side_constraints_.push_back(sums.of_B);
    store_single(p, sums.all);
  } else {
    if (!k.is_zero()) {
      const QNumber c = constant_of(*sums.all);
      const QNumber bound = abs(k * (c / k).floor() - c);
      tight_vars_[p->tight_var] = {bound, own(*sums.of_A)};
      sums.of_A->add_var(QNumber(-1), p->tight_var);
      sums.of_A->mult(k.inv());
    }
    store_single(p, sums.of_A);
  }
}

void Interpolator::check_cut(const laz::LaZTighteningProof& p) {
  if (p.constraints.empty()) throw error("missing conclusion in LaZTighteningProof", true);
  if (p.coeffs.size() + 1 < p.constraints.size())
    throw error("missing multiplier in LaZTighteningProof", true);
}

// An equality is taken in the direction that its multiplier has when the conclusion is
// read as it was written, as <= or as >=.
void Interpolator::add_premise(const laz::LaZTighteningProof& p, std::size_t i,
                               Equation* all, Equation* side) {
  const int relation = mapper_->linear_term(p.constraints.back()).kind;
  const int direction = relation == LinearTerm::LEQ   ? -1
                        : relation == LinearTerm::GEQ ? 1
                                                      : 0;
  Equation* const e = get_as_rhs(p.constraints[i], p.coeffs[i].sign() * direction);
  const QNumber weight = abs(p.coeffs[i]);
  add_multiple(all, weight, e);
  if (side != nullptr) add_multiple(side, weight, e);
}

void Interpolator::add_multiple(Equation* target, QNumber q, Equation* e) {
  assert(target != &zero_eq_);
  Equation* const sum = get_comb(nullptr, target, &q, e);
  assert(sum == owned_eqs_.back());
  *target = std::move(*sum);
  delete sum;
  owned_eqs_.pop_back();
}

bool Interpolator::is_shared(const Equation& e) {
  for (const auto& pair : e.coeffs()) {
    const auto status = classifier_->classify(term_of(pair.first), false);
    if (!classifier_->is_A_colorable(status) || !classifier_->is_B_colorable(status))
      return false;
  }
  return true;
}

}  // namespace opal::la

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
  assert(k.sign() > 0);
  const QNumber c = constant_of(e);
  e.add_const(c.neg());
  e.mult(k.inv());
  e.add_const((c / k).floor());
}

}  // namespace

void Interpolator::handle_tightproof(laz::LaZTighteningProof* p, TermSet& vars) {
  assert(!to_visit_.empty() && to_visit_.back() == p);
  to_visit_.pop_back();
  check_cut(*p);
  const int conclusion = p->constraints.back();
  const TheoryLit lit = literal_in_cut(conclusion, "unknown constraint in LaHyp");
  CutSums sums{own(*get_as_rhs(conclusion, 0)), own(zero_eq_), own(zero_eq_)};
  const auto enter = [&](TheoryLit l, Equation* side, const QNumber& weight, Equation* e) {
    add_multiple(side, weight, e);
    if (side == sums.of_B) collect_vars(l.atom(), &vars);
  };
  Equation* const side = side_of_cut(classify(lit.atom()), sums);
  enter(lit, side, QNumber(1), get_as_rhs(conclusion, 0));
  const int direction = direction_of(*p);
  for (std::size_t i = 0; i + 1 < p->constraints.size(); ++i) {
    const TheoryLit premise =
        literal_in_cut(p->constraints[i], "unknown premise in LaZTighteningProof");
    const auto status = classify(premise.atom());
    Equation* const e = premise_of(*p, i, direction);
    const QNumber weight = abs(p->coeffs[i]);
    add_multiple(sums.all, weight, e);
    enter(premise, side_of_cut(status, sums), weight, e);
  }
  if (p->divisor.sign() < 0) fail("negative divisor in LaZTighteningProof");
  store_single(p, rounded_part(*p, sums));
}

Equation* Interpolator::rounded_part(const laz::LaZTighteningProof& p,
                                     const CutSums& sums) {
  assert(!(sums.a_only && sums.b_only));
  const QNumber& k = p.divisor;
  if (sums.b_only) return get_zero();
  if (sums.a_only || (is_shared(*sums.all) && is_shared(*sums.of_B))) {
    if (!k.is_zero()) tighten(*sums.all, k);
    if (!sums.a_only) side_constraints_.push_back(sums.of_B);
    return sums.all;
  }
  if (!k.is_zero()) {
    const QNumber c = constant_of(*sums.all);
    const QNumber bound = abs(k * (c / k).floor() - c);
    assert(bound < k);
    tight_vars_[p.tight_var] = {bound, own(*sums.of_A)};
    sums.of_A->add_var(QNumber(-1), p.tight_var);
    sums.of_A->mult(k.inv());
  }
  return sums.of_A;
}

void Interpolator::check_cut(const laz::LaZTighteningProof& p) {
  if (p.constraints.empty()) fail("missing conclusion in LaZTighteningProof");
  if (p.coeffs.size() + 1 < p.constraints.size())
    fail("missing multiplier in LaZTighteningProof");
}

TheoryLit Interpolator::literal_in_cut(int constr_id, const char* unknown) {
  const TheoryLit lit = to_lit(constr_id);
  if (lit.has_no_atom()) fail(unknown);
  return lit;
}

Equation* Interpolator::side_of_cut(itp::TheoryAtomClassifier::status s, CutSums& sums) {
  if (classifier_->is_B_colorable(s)) {
    sums.a_only = false;
    return sums.of_B;
  }
  if (!classifier_->is_A_colorable(s)) fail("AB-mixed term in LaHyp");
  sums.b_only = false;
  return sums.of_A;
}

// An equality is taken in the direction that its multiplier has when the conclusion is
// read as it was written, as <= or as >=.
int Interpolator::direction_of(const laz::LaZTighteningProof& p) {
  assert(!p.constraints.empty());
  const int relation = mapper_->linear_term(p.constraints.back()).kind;
  if (relation == LinearTerm::LEQ) return -1;
  return relation == LinearTerm::GEQ ? 1 : 0;
}

Equation* Interpolator::premise_of(const laz::LaZTighteningProof& p, std::size_t i,
                                   int direction) {
  assert(i + 1 < p.constraints.size() && i < p.coeffs.size());
  assert(direction >= -1 && direction <= 1);
  return get_as_rhs(p.constraints[i], p.coeffs[i].sign() * direction);
}

void Interpolator::add_multiple(Equation* target, QNumber q, Equation* e) {
  assert(target != &zero_eq_ && target != e && q.sign() >= 0);
  Equation* const sum = get_comb(nullptr, target, &q, e);
  assert(sum == owned_eqs_.back());
  *target = std::move(*sum);
  delete sum;
  owned_eqs_.pop_back();
  assert(target->is_normal());
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

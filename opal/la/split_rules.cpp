// The rules of a proof, split in A's and B's halves, or rewritten.
//
//     e >= 0  of A         e >= 0  of B         e >= 0      f >= 0
//     -------------        -------------        ------------------  c, d > 0
//      e  |  0              0  |  e               c*e + d*f >= 0
//
//                                               e_A | e_B      f_A | f_B
//                                               -----------------------------------
//                                               c*e_A + d*f_A  |  c*e_B + d*f_B
//
// Splitting, a node that derives e >= 0 has an A half that derives e_A >= 0 from A's
// hypotheses and a B half that derives e_B >= 0 from B's, so that e = e_A + e_B but for the
// hypotheses on the equality that is being split, which are in neither. A half without
// hypotheses is the zero proof, 0 >= 0. Hypotheses on equalities that were split before are
// pairs of fake hypotheses (fake_hypotheses.cpp), one in each half.
//
// Rewriting, a node stays whole, and only those pairs take the place of their equalities.
//
// Example: A has x - a >= 0, B has b - x >= 0, and the sum of both and of a - b - delta >=
// 0 (from a != b) is -delta >= 0. Its halves are x - a >= 0 and b - x >= 0.
//
// Sound because each half is made of one side's hypotheses with positive multipliers. A
// fake hypothesis that is met in a proof stands in both halves, but counts in that of its
// colour only: the proof walk lets it contribute nothing to the other.
//
// An atom that both sides own counts as B's.
//
// Cost: one node a half and one sum a half for each node; the sums of a chain are as large
// as what has not cancelled. A node that several parents share is handled once.

#include <cassert>
#include <memory>

#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

std::unique_ptr<QNumber> copy_of(const QNumber* q) {
  return q == nullptr ? nullptr : std::make_unique<QNumber>(*q);
}

}  // namespace

proof::ProofRef Interpolator::combine(const QNumber* c1, proof::Proof* p1,
                                      const QNumber* c2, proof::Proof* p2) {
  assert(p1 != nullptr && p2 != nullptr);
  proof::ProofRef premise1(proof::Proof::retain(p1)), premise2(proof::Proof::retain(p2));
  auto copy1 = copy_of(c1), copy2 = copy_of(c2);
  return proof::ProofRef(new LaComb(copy1.release(), premise1.take(), copy2.release(),
                                    premise2.take(), 0, 0, 0));
}

void Interpolator::set_a(SplitData& entry, proof::Proof* p, Equation* sum) {
  assert(entry.proof_a == nullptr && p != nullptr);
  entry.proof_a = proof::Proof::retain(p);
  entry.eq_a = sum;
}

void Interpolator::set_b(SplitData& entry, proof::Proof* p, Equation* sum) {
  assert(entry.proof_b == nullptr && p != nullptr);
  entry.proof_b = proof::Proof::retain(p);
  entry.eq_b = sum;
}

// A premise without a sum, which is an implication or rests on one, leaves its node without
// one: only proofs that are split need their sums, and an implication cannot be split.
void Interpolator::split_mixed_handle_comb(LaComb* p, TheoryLit /*root_lit*/,
                                           bool splitting, itp::EqItpMap& /*eq_itp*/) {
  const bool lacks1 = !split_cache_.contains(p->premise1);
  const bool lacks2 = !split_cache_.contains(p->premise2);
  if (lacks1) to_visit_.push_back(p->premise1);
  if (lacks2) to_visit_.push_back(p->premise2);
  if (lacks1 || lacks2) return;
  to_visit_.pop_back();
  assert(p->premise1 != p && p->premise2 != p);
  SplitData& entry = split_cache_[p];
  const SplitData& s1 = split_cache_[p->premise1];
  const SplitData& s2 = split_cache_[p->premise2];
  auto sum = [&](Equation* e1, Equation* e2) {
    const bool both = e1 != nullptr && e2 != nullptr;
    return both ? get_comb(p->coeff1, e1, p->coeff2, e2) : nullptr;
  };
  set_a(entry, combine(p->coeff1, s1.proof_a, p->coeff2, s2.proof_a).get(),
        sum(s1.eq_a, s2.eq_a));
  if (!splitting) return;
  set_b(entry, combine(p->coeff1, s1.proof_b, p->coeff2, s2.proof_b).get(),
        sum(s1.eq_b, s2.eq_b));
  assert(entry.eq_a != nullptr && entry.eq_b != nullptr);
}

void Interpolator::split_mixed_handle_hyp(LaHyp* p, TheoryLit root_lit, bool splitting,
                                          itp::EqItpMap& eq_itp) {
  assert(!to_visit_.empty() && to_visit_.back() == p);
  to_visit_.pop_back();
  SplitData& entry = split_cache_[p];
  LaHyp* const zero = get_zero_proof();
  const SplitMode mode = splitting ? SPLITTING : REWRITING;
  const int id = p->constraint_id;
  const TheoryLit lit = p == zero ? TheoryLit() : to_lit(id);
  if (p == zero || (is_zero_constr(id) && lit.has_no_atom())) {
    set_a(entry, p, get_zero());
    if (splitting) set_b(entry, p, get_zero());
    return;
  }
  if (lit.has_no_atom()) fail("unmapped constraint in a LaHyp to split");
  if (lit.atom() == root_lit.atom()) {
    set_a(entry, splitting ? zero : p, splitting ? get_zero() : get_as_rhs(id, p->sign));
    if (splitting) set_b(entry, zero, get_zero());
  } else if (const itp::EqItpInfo* const info = eq_itp.find(lit.atom())) {
    if (lit.is_negated()) fail("can't handle negated AB-mixed equality");
    replace_by_fakes(p, *info, mode, entry);
  } else {
    const bool of_B =
        splits_to_B(lit.atom(), mode, "AB-mixed term not found in eq_itp map");
    Equation* const e = get_as_rhs(id, p->sign);
    const bool in_a = !splitting || !of_B;
    set_a(entry, in_a ? p : zero, in_a ? e : get_zero());
    if (splitting) set_b(entry, of_B ? p : zero, of_B ? e : get_zero());
  }
}

bool Interpolator::splits_to_B(const Term_* atom, SplitMode mode, const char* mixed) {
  assert(atom != nullptr);
  const auto status = classify(atom);
  const bool of_B = classifier_->is_B_colorable(status);
  const bool has_no_side = mode == SPLITTING
                               ? !of_B && !classifier_->is_A_colorable(status)
                               : status == itp::TheoryAtomClassifier::AB_MIXED ||
                                     status == itp::TheoryAtomClassifier::UNKNOWN;
  if (has_no_side) fail(mixed);
  return of_B;
}

void Interpolator::replace_by_fakes(LaHyp* p, const itp::EqItpInfo& info, SplitMode mode,
                                    SplitData& entry) {
  assert(info.a_side != nullptr && info.b_side != nullptr && info.shared_term != nullptr);
  const int var = mapper_->term_def_var(info.shared_term);
  if (var == 0) fail("no variable for a shared term");
  Equation shared;
  shared.add_var(QNumber(1), var);
  const auto fakes =
      make_fake_hyp(info.a_side, info.b_side, info.shared_term, p, &shared, &shared);
  const proof::Counted<LaFakeHyp> of_A(fakes.first), of_B(fakes.second);
  if (mode == SPLITTING) {
    set_a(entry, of_A.get(), of_A->equation.get());
    set_b(entry, of_B.get(), of_B->equation.get());
  } else {
    set_a(entry, combine(nullptr, of_A.get(), nullptr, of_B.get()).get(),
          get_comb(nullptr, of_A->equation.get(), nullptr, of_B->equation.get()));
  }
}

void Interpolator::split_mixed_handle_fakehyp(LaFakeHyp* p, TheoryLit /*root_lit*/,
                                              bool splitting, itp::EqItpMap& /*eq_itp*/) {
  to_visit_.pop_back();
  SplitData& entry = split_cache_[p];
  const TheoryLit lit = to_lit(p->constraint_id);
  if (lit.has_no_atom()) fail("unmapped constraint in a LaFakeHyp to split");
  const bool of_B = splits_to_B(lit.atom(), splitting ? SPLITTING : REWRITING,
                                "AB-mixed term in a LaFakeHyp");
  Equation* const e = p->equation.get();
  assert(e != nullptr && e->is_normal());
  set_a(entry, p, splitting && of_B ? get_zero() : e);
  if (splitting) set_b(entry, p, of_B ? e : get_zero());
}

void Interpolator::split_mixed_handle_comb_imp(LaCombImp* p, TheoryLit /*root_lit*/,
                                               bool splitting, itp::EqItpMap& eq_itp) {
  if (splitting) fail("can't split a LaCombImp");
  if (!split_cache_.contains(p->premise)) {
    to_visit_.push_back(p->premise);
    return;
  }
  to_visit_.pop_back();
  SplitData& entry = split_cache_[p];
  const TheoryLit lit = to_lit(p->constraint_id);
  if (lit.has_no_atom()) fail("unmapped constraint in a LaCombImp to split");
  if (eq_itp.find(lit.atom()) != nullptr)
    fail("constraint implied by LaCombImp is in the EqItpMap");
  proof::ProofRef premise(proof::Proof::retain(split_cache_[p->premise].proof_a));
  assert(entry.proof_a == nullptr && premise);
  entry.proof_a = new LaCombImp(p->constraint_id, p->sign, premise.take());
}

}  // namespace opal::la

// Splitting a proof that rests on an equality of both sides.
//
//      a > b             a < b
//        |  case1          |  case2       A and B
//        v                 v
//     contradiction     contradiction     a of A, b of B
//     -------------------------------
//                 a = b
//
// No interpolant can mention a and b together, but the two cases say where they meet.
// Without the hypothesis on a and b, the first case is a sum of A's hypotheses that gives
// t - a >= 0 and one of B's that gives b - t >= 0 (or both the other way round): all that
// is not a or b has to cancel between the two, so t has shared variables only. Likewise the
// second case gives a - u >= 0 and u - b >= 0. A and B together leave a = t = u = b. So t
// is computed from A's half of the first case, and there are two new proofs:
//
//     a > t, case1's A half     a < t, case2's A half         likewise b and B's halves
//     -----------------------------------------------         -------------------------
//                         a = t                                         b = t
//
// The halves of the first case are contradictions with the hypothesis on t. Those of the
// second leave a constraint between t and u, and are contradictions where t and u are the
// same; else the other side's half is needed too (docs/proofs.md, promise 9).
//
// Example: A has a <= x and a >= x, B has b >= x and b <= x, and a != b reads b - a != 0.
// The first case adds b - a < 0, x - a >= 0 and b - x >= 0. A's half x - a, plus a, is
// t = x. The new proofs refute a != x by (a - x - delta) + (x - a) and
// (x - a - delta) + (a - x), and b != x likewise.
//
// When the mapper writes the disequality as a - b, the first case says a < b, A's half of
// it gives a - t >= 0, and t is -1 times what is left without a. The engine trusts the
// proof to have hypotheses with the signs and multipliers of docs/proofs.md, promise 10:
// sums of halves are rescaled to the last hypothesis's multiplier, but the proofs are not.
//
// A proof that does not rest on such an equality is rewritten: equalities that were split
// before, and on which it may rest, are replaced by their two halves. Without any there is
// nothing to rewrite, and nodes come back as they are.
//
// After an exception split_cache_ and owned_eqs_ hold what was made until then. The next
// split request empties both; the destructor gives the references in split_cache_ back,
// clear_cache() deletes the sums.
//
// Cost: each node is handled once and looked at at most once for each parent; see
// split_rules.cpp for the sums.

#include <cassert>
#include <string>
#include <typeinfo>

#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

using proof::Proof;
using proof::ProofRef;

std::string unexpected_rule() {
  return std::string("Unexpected proof rule to split: ") + typeid(Proof*).name();
}

}  // namespace

std::pair<Proof*, Proof*> Interpolator::split_mixed_proof(
    itp::TheoryAtomClassifier* classifier, LaProof* proof, itp::EqItpMap& eq_itp) {
  if (classifier == nullptr) fail("null classifier");
  classifier_ = classifier;
  clear_cache();
  clear_split_cache();
  assert(split_cache_.empty() && owned_eqs_.empty());
  SplitRequest request;
  request.root = as<LaNeq>(proof);
  if (request.root != nullptr) {
    enter_split_root(request);
    to_visit_ = {request.root->case1, request.root->case2};
  } else {
    to_visit_.assign(1, proof);
  }
  split_walk(request, eq_itp);
  std::pair<ProofRef, ProofRef> result;
  if (request.splitting)
    result = split_root(request, eq_itp);
  else
    result.first = rewritten_root(proof, request);
  clear_split_cache();
  clear_cache();
  assert(request.splitting == static_cast<bool>(result.second));
  return {result.first.take(), result.second.take()};
}

void Interpolator::clear_split_cache() {
  assert(split_cache_.is_normal());
  for (auto& [node, entry] : split_cache_) {
    Proof::release(std::exchange(entry.proof_a, nullptr));
    Proof::release(std::exchange(entry.proof_b, nullptr));
  }
  split_cache_.clear();
}

void Interpolator::enter_split_root(SplitRequest& request) {
  assert(request.root != nullptr && !request.splitting);
  request.root_lit = to_lit(request.root->constraint_id);
  if (request.root_lit.has_no_atom()) fail("unmapped disequality in a LaNeq to split");
  const Term_* const atom = request.root_lit.atom();
  const auto entered = classifier_->classify_atom(atom);
  const bool is_entered = entered != itp::TheoryAtomClassifier::UNKNOWN;
  const auto status = is_entered ? entered : classifier_->classify(atom, false);
  if (status == itp::TheoryAtomClassifier::UNKNOWN) fail("atom unknown to the classifier");
  if (status == itp::TheoryAtomClassifier::AB_MIXED) {
    if (!mgr_->is_equality(atom->symbol())) fail("Only AB-mixed equalities can be split");
    request.splitting = true;
  } else if (!is_entered) {
    if (classifier_->is_B_colorable(status))
      classifier_->add_B_atom(atom);
    else
      classifier_->add_A_atom(atom);
  }
}

// The second case lies on top of the first one, so it has an entry when the first is begun.
void Interpolator::split_walk(SplitRequest& request, itp::EqItpMap& eq_itp) {
  assert(!to_visit_.empty() && split_cache_.empty());
  const bool splitting = request.splitting;
  const bool rewrites_nothing = !splitting && eq_itp.empty();
  while (!to_visit_.empty()) {
    Proof* const p = to_visit_.back();
    if (p == nullptr) fail(unexpected_rule());
    if (split_cache_.contains(p)) {
      to_visit_.pop_back();
      continue;
    }
    if (rewrites_nothing) {
      to_visit_.pop_back();
      set_a(split_cache_[p], p, nullptr);
      continue;
    }
    if (splitting) track_hypotheses(p, request);
    if (auto* comb = as<LaComb>(p))
      split_mixed_handle_comb(comb, request.root_lit, splitting, eq_itp);
    else if (auto* hyp = as<LaHyp>(p))
      split_mixed_handle_hyp(hyp, request.root_lit, splitting, eq_itp);
    else if (auto* fake = as<LaFakeHyp>(p))
      split_mixed_handle_fakehyp(fake, request.root_lit, splitting, eq_itp);
    else if (auto* implied = as<LaCombImp>(p))
      split_mixed_handle_comb_imp(implied, request.root_lit, splitting, eq_itp);
    else
      fail(unexpected_rule());
  }
}

void Interpolator::track_hypotheses(Proof* p, SplitRequest& request) {
  assert(request.splitting && p != nullptr);
  if (const auto* comb = as<LaComb>(p)) {
    if (request.last_hyp == nullptr) return;
    if (comb->premise1 == request.last_hyp) request.last_mult = comb->coeff1;
    if (comb->premise2 == request.last_hyp) request.last_mult = comb->coeff2;
  } else if (auto* hyp = as<LaHyp>(p)) {
    if (to_lit(hyp->constraint_id).atom() != request.root_lit.atom()) return;
    (request.first_hyp == nullptr ? request.first_hyp : request.last_hyp) = hyp;
    const bool in_case1 = split_cache_.contains(request.root->case2);
    (in_case1 ? request.case1_has_hyp : request.case2_has_hyp) = true;
  }
}

ProofRef Interpolator::rewritten_root(LaProof* proof, const SplitRequest& request) {
  assert(!request.splitting);
  if (request.root == nullptr) return ProofRef(Proof::retain(split_cache_[proof].proof_a));
  ProofRef case1(Proof::retain(split_cache_[request.root->case1].proof_a));
  ProofRef case2(Proof::retain(split_cache_[request.root->case2].proof_a));
  return ProofRef(new LaNeq(request.root->constraint_id, case1.take(), case2.take()));
}

itp::EqItpInfo Interpolator::find_shared_term(const SplitRequest& request,
                                              SplitData& case1) {
  const Term_* const atom = request.root_lit.atom();
  assert(atom->num_args() == 2 && request.last_hyp != nullptr);
  assert(case1.eq_a != nullptr && case1.eq_b != nullptr);
  itp::EqItpInfo split{atom->arg(0), atom->arg(1), nullptr};
  if (!classifier_->is_B_colorable(classify(split.b_side)))
    std::swap(split.a_side, split.b_side);
  Equation of_a, of_b;  // what the case's hypothesis is without delta
  const bool is_b_minus_a =
      make_linear_exprs(split.a_side, split.b_side,
                        linear_term_of(request.last_hyp->constraint_id), of_a, of_b);
  (is_b_minus_a ? of_a : of_b).mult(QNumber(-1));
  // Copies, as the sums of a leaf can be the zero constraint or a fake hypothesis's.
  case1.eq_a = own(*case1.eq_a);
  case1.eq_b = own(*case1.eq_b);
  if (request.last_mult != nullptr) {
    if (request.last_mult->is_zero()) fail("zero multiplier in LaComb");
    case1.eq_a->mult(request.last_mult->inv());
    case1.eq_b->mult(request.last_mult->inv());
  }
  sub_equation(case1.eq_a, of_a);
  sub_equation(case1.eq_b, of_b);
  assert(case1.eq_a->is_normal() && case1.eq_b->is_normal());
  split.shared_term = build_leq_term(case1.eq_a, false);
  if (!is_b_minus_a)
    split.shared_term = mgr_->make_times(mgr_->make_number(-1), split.shared_term);
  return split;
}

std::pair<ProofRef, ProofRef> Interpolator::split_root(const SplitRequest& request,
                                                       itp::EqItpMap& eq_itp) {
  if (!request.case1_has_hyp || !request.case2_has_hyp)
    fail("no hypothesis on the split equality in a case of a LaNeq");
  assert(request.first_hyp != nullptr && request.last_hyp != nullptr);
  SplitData& case1 = split_cache_[request.root->case1];
  const SplitData& case2 = split_cache_[request.root->case2];
  assert(case1.proof_a != nullptr && case1.proof_b != nullptr);
  assert(case2.proof_a != nullptr && case2.proof_b != nullptr);
  const itp::EqItpInfo split = find_shared_term(request, case1);
  using Fakes = std::pair<proof::Counted<LaFakeHyp>, proof::Counted<LaFakeHyp>>;
  auto fakes_for = [&](LaHyp* hyp) {
    const auto fakes = make_fake_hyp(split.a_side, split.b_side, split.shared_term, hyp,
                                     case1.eq_a, case1.eq_b);
    return Fakes(fakes.first, fakes.second);
  };
  const Fakes fakes1 = fakes_for(request.last_hyp);
  const Fakes fakes2 = fakes_for(request.first_hyp);
  auto neq = [](LaFakeHyp* fake1, Proof* half1, LaFakeHyp* fake2, Proof* half2) {
    ProofRef new_case1 = combine(nullptr, fake1, nullptr, half1);
    ProofRef new_case2 = combine(nullptr, fake2, nullptr, half2);
    return ProofRef(new LaNeq(fake1->constraint_id, new_case1.take(), new_case2.take()));
  };
  ProofRef neq_a =
      neq(fakes1.first.get(), case1.proof_a, fakes2.first.get(), case2.proof_a);
  ProofRef neq_b =
      neq(fakes1.second.get(), case1.proof_b, fakes2.second.get(), case2.proof_b);
  // The map comes last: whatever throws, it has no entry that the classifier lacks.
  const Term_* const of_A = make_interface_equality(mgr_, split.a_side, split.shared_term);
  const Term_* const of_B = make_interface_equality(mgr_, split.b_side, split.shared_term);
  classifier_->add_A_atom(of_A);
  classifier_->add_B_atom(of_B);
  eq_itp.insert(request.root_lit.atom(), split);
  return {std::move(neq_a), std::move(neq_b)};
}

}  // namespace opal::la

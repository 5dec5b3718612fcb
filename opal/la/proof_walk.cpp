// The road of a request.
//
// A proof is walked with an explicit stack. A node on top of it is given to the handler
// of its rule, which either pushes the premises that have no list yet and is called again
// when they are done, or pops the node and stores its coefficient list: what A contributes
// to the constraint that the node derives. The root's list becomes the interpolant.
//
//                 comb                 stack, top at the right:
//                /    \                comb
//            comb      z <= 0  B       comb | comb' | hyp z
//           /    \                     comb | comb'              hyp z:  [0]
//     x - z <= 0  1 - x <= 0  A        comb | comb' | hyp | hyp
//                                      comb | comb'              hyps:  [z - x], [x - 1]
//                                      comb                      comb': [z - 1]
//                                                                comb:  [z - 1]
//
// A node that several parents share is handled once. A list lives as long as somebody can
// ask for it: when the only parent of a node is done, the node's list is deleted, so a
// chain of n steps holds few lists at a time.
//
// Lemmas, and equalities without integer solution, are proofs by themselves and are not
// walked. A tree of branches is walked leaf by leaf.
//
// Cost: each node is handled once and looked at at most once for each parent and premise.

#include <cassert>
#include <memory>
#include <string>
#include <typeinfo>

#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"
#include "opal/la/long_list.h"
#include "opal/la/merge_table.h"

namespace opal::la {

namespace {

// Leaves the caller's classifier at the end of a request, which may put another in its
// place.
class ClassifierScope {
 public:
  ClassifierScope(itp::TheoryAtomClassifier*& member, itp::TheoryAtomClassifier* callers)
      : member_(member), callers_(callers) {
    member_ = callers_;
  }
  ClassifierScope(const ClassifierScope&) = delete;
  ClassifierScope& operator=(const ClassifierScope&) = delete;
  ~ClassifierScope() { member_ = callers_; }

 private:
  itp::TheoryAtomClassifier*& member_;
  itp::TheoryAtomClassifier* const callers_;
};

[[noreturn]] void refuse_rule() {
  const Interpolator::error built(
      std::string("Unrecognized proof rule: ") + typeid(proof::Proof*).name(), true);
  throw Exception(built);  // the base class alone: callers tell the two apart
}

}  // namespace

const Term_* Interpolator::get_interpolant(itp::TheoryAtomClassifier* classifier,
                                           proof::Proof* proof) {
  if (classifier == nullptr) fail("null classifier");
  const ClassifierScope scope(classifier_, classifier);
  itp::TheoryAtomClassifier flipped = classifier->flip();
  if (mode_ == MODE_DUAL) classifier_ = &flipped;
  auto* const tree = as<laz::LaZInternalBBProof>(proof);
  in_laz_bb_ = tree != nullptr;
  assert(mode_ != MODE_DUAL || classifier_ == &flipped);
  const Term_* const result =
      tree != nullptr ? do_get_laz_bb_interpolant(tree) : do_get_interpolant(proof);
  assert(result != nullptr && owned_eqs_.empty());
  return mode_ == MODE_DUAL ? mgr_->make_not(result) : result;
}

const Term_* Interpolator::do_get_interpolant(proof::Proof* proof) {
  TermSet vars;
  assert(classifier_ != nullptr);
  clear_cache();
  const Term_* result = root_only_interpolant(proof);
  if (result == nullptr) {
    walk(proof, vars);
    result = under_side_constraints(root_term(proof));
  }
  clear_cache();
  return result;
}

const Term_* Interpolator::root_only_interpolant(proof::Proof* proof) {
  if (auto* split = as<LaEqSplitLemma>(proof))
    return get_interpolant_from_split_lemma(split);
  if (auto* equalities = as<laz::LaZEqSubProof>(proof))
    return get_interpolant_from_laz_eqproof(equalities);
  if (auto* branch = as<laz::LaZBBLemma>(proof))
    return get_interpolant_from_laz_bb_lemma(branch);
  return nullptr;
}

void Interpolator::walk(proof::Proof* proof, TermSet& vars) {
  LongList long_list(*this, vars);
  to_visit_.assign(1, proof);
  while (!to_visit_.empty()) {
    mgr_->poll();
    proof::Proof* const p = to_visit_.back();
    assert(p == nullptr || p->references() > 0);
    const std::size_t height = to_visit_.size();
    const bool is_shared = p != nullptr && p->references() > 1;
    if (is_shared && find_in_cache(p) != nullptr) {
      to_visit_.pop_back();
    } else if (auto* comb = as<LaComb>(p)) {
      if (extend_long_list(comb, long_list)) continue;
      long_list.settle(comb->premise1);
      long_list.settle(comb->premise2);
      handle_comb(comb, vars);
      if (to_visit_.size() >= height) continue;
      forget_premise(comb->premise1, long_list);
      forget_premise(comb->premise2, long_list);
    } else if (auto* hyp = as<LaHyp>(p)) {
      handle_hyp(hyp, vars);
    } else if (auto* implied = as<LaCombImp>(p)) {
      long_list.settle(implied->premise);
      handle_comb_imp(implied, vars);
      if (to_visit_.size() < height) forget_premise(implied->premise, long_list);
    } else if (auto* neq = as<LaNeq>(p)) {
      handle_neq(neq, vars);
    } else if (auto* fake = as<LaFakeHyp>(p)) {
      handle_fakehyp(fake, vars);
    } else if (auto* cut = as<laz::LaZTighteningProof>(p)) {
      if (floor_tightening_)
        handle_tightproof_floor(cut, vars);
      else
        handle_tightproof(cut, vars);
    } else {
      // A null node, or a rule where it cannot stand.
      refuse_rule();
    }
  }
  assert(proof_cache_.is_normal() && vars.is_normal());
  long_list.settle(proof);
  if (const auto* neq = as<LaNeq>(proof)) {
    long_list.settle(neq->case1);
    long_list.settle(neq->case2);
  }
}

// A node with one reference has one parent, and the parent is done with it. A walk makes a
// list for every node and mostly needs few at a time: some short ones are kept, with their
// memory, for the next nodes.
void Interpolator::forget_premise(proof::Proof* premise, LongList& index) {
  assert(premise != nullptr);
  if (premise->references() > 1) return;
  std::unique_ptr<CoeffList> list(proof_cache_.take(premise));
  if (list == nullptr) return;
  constexpr std::size_t MOST_SPARE = 256;
  if (list->capacity() > LongList::SHORT) {
    index.forget(list.get());
    return;
  }
  if (spare_lists_.size() >= MOST_SPARE) return;
  list->clear();
  spare_lists_.push_back(std::move(list));
}

// A proof that ends in a disequality e != 0 has the cases e > 0 and e < 0 with interpolants
// i1 and i2. When B asserts e != 0, B refutes each of them: their conjunction contradicts
// B. When A does, one of them follows from A: their disjunction does.
const Term_* Interpolator::root_term(proof::Proof* proof) {
  if (CoeffList* list = find_in_cache(proof)) return build_term_from_eq_list(*list);
  const auto* neq = as<LaNeq>(proof);
  assert(neq != nullptr && find_in_cache(neq->case1) != nullptr);
  assert(find_in_cache(neq->case2) != nullptr);
  const Term_* const i1 = build_term_from_eq_list(*find_in_cache(neq->case1));
  const Term_* const i2 = build_term_from_eq_list(*find_in_cache(neq->case2));
  const TheoryLit lit = to_lit(neq->constraint_id);
  if (lit.has_no_atom()) fail("unmapped neq in a LaNeq rule");
  const auto status = classify(lit.atom());
  if (classifier_->is_B_colorable(status)) return mgr_->make_and(i1, i2);
  if (classifier_->is_A_colorable(status)) return mgr_->make_or(i1, i2);
  fail("AB-mixed neq in a LaNeq rule");
}

const Term_* Interpolator::under_side_constraints(const Term_* interpolant) {
  if (side_constraints_.empty()) return interpolant;
  const Term_* premise = mgr_->true_term();
  assert(premise != nullptr && interpolant != nullptr);
  for (const Equation* e : side_constraints_)
    premise = mgr_->make_and(premise, build_leq_term(e, true));
  return mgr_->make_or(mgr_->make_not(premise), interpolant);
}

}  // namespace opal::la

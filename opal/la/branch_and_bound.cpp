// Branches on an integer term, and the clause that states one.
//
//     t <= c |- false      t >= c+1 |- false
//     -------------------------------------- t an integer-valued term
//                    false
//
// Partial interpolants: I1 and I2 of the branches, each for A and B with one more atom.
// When the atoms of the branch count as B's, A implies I1 and I2, and B contradicts I1 if
// t <= c and I2 if t >= c+1: their conjunction is an interpolant. When they count as A's,
// A implies I1 if t <= c and I2 if t >= c+1, and B contradicts both: their disjunction is.
// Both atoms have to count for the same side, in every leaf.
//
// Example: A has 2x = y, B has 2z + 1 = y. The branch z <= 0, z >= 1 on a variable of B
// joins its interpolants by "and".
//
// The interpolant of the clause l1 or l2 (or l3) is that of the conjunction of its negated
// literals: with A's and B's share of them for A and B.
//
//     literals of A        two literals         three literals
//     none                 true                 true
//     one, l               not l                not l
//     two                  false                the literal of B
//     three                                     false
//
// A literal of the clause that both sides own counts as A's.
//
// Cost: each node of the tree is handled once, with an explicit stack; a leaf is a request
// of its own.

#include <cassert>

#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"

namespace opal::la {

const Term_* Interpolator::do_get_laz_bb_interpolant(laz::LaZInternalBBProof* root) {
  assert(root != nullptr && in_laz_bb_);
  hsh::HashMap<proof::Proof*, const Term_*> results;
  std::vector<proof::Proof*> stack{root};
  bb_lits_.clear();
  auto result_of = [&results](proof::Proof* p) {
    const auto it = results.find(p);
    return it == results.end() ? nullptr : it->second;
  };
  while (!stack.empty()) {
    proof::Proof* const p = stack.back();
    const Term_* result = result_of(p);
    if (result == nullptr) {
      const auto* const node = as<laz::LaZInternalBBProof>(p);
      if (node == nullptr) {
        result = do_get_interpolant(p);
      } else {
        const Term_* const left = result_of(node->left);
        const Term_* const right = result_of(node->right);
        if (right == nullptr) stack.push_back(node->right);
        if (left == nullptr) stack.push_back(node->left);
        if (left == nullptr || right == nullptr) {
          map_laz_bb_tlit(node->left_id, node->left_term);
          map_laz_bb_tlit(node->right_id, node->right_term);
          continue;
        }
        result = join_branches(*node, left, right);
      }
      assert(result != nullptr);
      results[p] = result;
    }
    stack.pop_back();
  }
  in_laz_bb_ = false;
  bb_lits_.clear();
  assert(results.is_normal());
  return result_of(root);
}

const Term_* Interpolator::join_branches(const laz::LaZInternalBBProof& node,
                                         const Term_* left, const Term_* right) {
  assert(left != nullptr && right != nullptr);
  using Classifier = itp::TheoryAtomClassifier;
  const TheoryLit l1 = to_lit(node.left_id), l2 = to_lit(node.right_id);
  if (l1.has_no_atom() || l2.has_no_atom())
    fail("unknown constraint in LaZInternalBBProof");
  auto s1 = classifier_->classify_atom(l1.atom());
  auto s2 = classifier_->classify_atom(l2.atom());
  if (s1 == Classifier::UNKNOWN && s2 == Classifier::UNKNOWN) {
    s1 = classifier_->classify(l1.atom(), false);
    s2 = classifier_->classify(l2.atom(), false);
    if (s1 == Classifier::UNKNOWN || s2 == Classifier::UNKNOWN)
      fail("impossible to classify BB constraint in LaZInternalBBProof");
  } else if (s1 == Classifier::UNKNOWN || s2 == Classifier::UNKNOWN) {
    const auto known = s1 == Classifier::UNKNOWN ? s2 : s1;
    return classifier_->is_B_colorable(known) ? mgr_->make_and(left, right)
                                              : mgr_->make_or(left, right);
  }
  if (classifier_->is_B_colorable(s1) && classifier_->is_B_colorable(s2))
    return mgr_->make_and(left, right);
  if (classifier_->is_A_colorable(s1) && classifier_->is_A_colorable(s2))
    return mgr_->make_or(left, right);
  fail("incompatible BB constraints in LaZInternalBBProof");
}

// The term-building flag stays as the caller has it: the host builds the same atoms, to
// colour them.
void Interpolator::map_laz_bb_tlit(int id, const LinearTerm& lt) {
  const Term_* sum = mgr_->make_number(0);
  for (const auto& [var, coeff] : lt.vars.coeffs())
    sum = mgr_->make_plus(sum, mgr_->make_times(mgr_->make_number(coeff), term_of(var)));
  const Term_* const bound = mgr_->make_number(lt.constant);
  TheoryLit lit;
  if (lt.kind == LinearTerm::LEQ) lit = TheoryLit(mgr_->make_leq(sum, bound));
  if (lt.kind == LinearTerm::GEQ) lit = TheoryLit(mgr_->make_leq(bound, sum));
  assert(!lit.is_negated() && lt.vars.is_normal());
  bb_lits_[id] = lit;
}

const Term_* Interpolator::get_interpolant_from_laz_bb_lemma(laz::LaZBBLemma* lemma) {
  std::vector<TheoryLit> lits{lemma->lit1, lemma->lit2};
  if (!lemma->lit3.is_null()) lits.push_back(lemma->lit3);
  std::vector<TheoryLit> of_A, of_B;
  for (const TheoryLit lit : lits) {
    if (lit.has_no_atom()) fail("missing literal in LaZBBLemma");
    const auto status = classify(lit.atom());
    const bool is_A = classifier_->is_A_colorable(status);
    if (!is_A && !classifier_->is_B_colorable(status)) fail("AB-mixed term in LaZBBLemma");
    (is_A ? of_A : of_B).push_back(lit);
  }
  if (of_A.empty()) return mgr_->true_term();
  if (of_B.empty()) return mgr_->false_term();
  assert(of_A.size() == 1 || of_B.size() == 1);
  const TheoryLit lit = of_A.size() == 1 ? !of_A.front() : of_B.front();
  return lit.is_negated() ? mgr_->make_not(lit.atom()) : lit.atom();
}

}  // namespace opal::la

// The clause that splits an equality into its two inequalities.
//
//     ------------------------   e is an equality, l1 and l2 the inequalities that
//     e or not l1 or not l2      make it up
//
// Interpolant: that of the conjunction not e, l1, l2, with A's and B's share of it.
//
//     of A         result           of A          result
//     none         true             all           false
//     e            not e            l1, l2        e
//     l1           l1               e, l1         not l2
//     l2           l2               e, l2         not l1
//
// With one atom of A, its conjunct follows from A; with one of B, the negation of its
// conjunct does.
//
// Example: x = y or not x <= y or not x >= y. A has x <= y and not x = y, B has x >= y: the
// interpolant is not x >= y.
//
// An atom that both sides own counts as A's.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

const Term_* Interpolator::get_interpolant_from_split_lemma(LaEqSplitLemma* lemma) {
  auto is_of_A = [this](const Term_* atom) {
    if (atom == nullptr) fail("missing atom in LaEqSplitLemma");
    const auto status = classify(atom);
    const bool is_A = classifier_->is_A_colorable(status);
    if (!is_A && !classifier_->is_B_colorable(status))
      fail("AB-mixed term in LaEqSplitLemma");
    return is_A;
  };
  assert(lemma != nullptr && classifier_ != nullptr);
  const Term_* const e = lemma->equality;
  const Term_* const l1 = lemma->inequality1;
  const Term_* const l2 = lemma->inequality2;
  const bool e_of_A = is_of_A(e), l1_of_A = is_of_A(l1), l2_of_A = is_of_A(l2);
  if (e_of_A) {
    if (l1_of_A && l2_of_A) return mgr_->false_term();
    if (l1_of_A) return mgr_->make_not(l2);
    if (l2_of_A) return mgr_->make_not(l1);
    return mgr_->make_not(e);
  }
  if (l1_of_A && l2_of_A) return e;
  if (l1_of_A) return l1;
  if (l2_of_A) return l2;
  return mgr_->true_term();
}

}  // namespace opal::la

// The rules of rational proofs, and what A contributes to each.
//
//     ------- hypothesis e, fake hypothesis e
//     e >= 0
//
//     e >= 0      f >= 0
//     ------------------ combination, c, d > 0
//       c*e + d*f >= 0
//
//     e >= 0
//     ------- implication of a constraint g: e and not g contradict each other
//        g
//
// The partial interpolant of a node is the part of its sum that A's hypotheses make up: a
// hypothesis of A contributes its constraint, one of B nothing, a combination merges what
// its premises contribute, and an implication adds the negation of g as one more
// hypothesis. Then at the root, where the sum is a contradiction, A implies the A part,
// and B's constraints, which make up the rest of the sum, contradict it. Local variables
// of A have cancelled in the A part, since B's part cannot have cancelled them.
//
// Example: A has x <= 3 and y - x <= 0, B has y >= 5. The combination of all three is
// (3 - x) + (x - y) + (y - 5) = -2 >= 0, A's part is 3 - y >= 0.
//
// An atom that both sides own counts as B's.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

// Gives the first pair of a list another multiplier for the duration of a scope, unless
// there is none to give or the pair has a multiplier already.
class FirstMultiplier {
 public:
  FirstMultiplier(CoeffList& list, QNumber* multiplier)
      : slot_(list.front().first), saved_(slot_) {
    assert(!list.empty());
    if (multiplier != nullptr && (slot_ == nullptr || *slot_ == LaComb::one))
      slot_ = multiplier;
  }
  FirstMultiplier(const FirstMultiplier&) = delete;
  FirstMultiplier& operator=(const FirstMultiplier&) = delete;
  ~FirstMultiplier() { slot_ = saved_; }

 private:
  QNumber*& slot_;
  QNumber* const saved_;
};

bool is_zero(const QNumber* multiplier) {
  return multiplier != nullptr && multiplier->is_zero();
}

}  // namespace

void Interpolator::handle_hyp(LaHyp* hyp, TermSet& vars) {
  assert(!to_visit_.empty() && to_visit_.back() == hyp);
  to_visit_.pop_back();
  const int id = hyp->constraint_id;
  const bool of_A =
      !is_zero_constr(id) && is_constraint_of_A(to_lit(id), "unknown constraint in LaHyp",
                                                "AB-mixed term in LaHyp", vars);
  store_single(hyp, of_A ? get_as_rhs(id, hyp->sign) : get_zero());
}

void Interpolator::handle_fakehyp(LaFakeHyp* hyp, TermSet& vars) {
  assert(!to_visit_.empty() && to_visit_.back() == hyp);
  assert(hyp->equation != nullptr && hyp->equation->is_normal());
  to_visit_.pop_back();
  const bool of_A =
      is_constraint_of_A(to_lit(hyp->constraint_id), "unknown constraint in LaFakeHyp",
                         "AB-mixed term in LaFakeHyp", vars);
  store_single(hyp, of_A ? hyp->equation.get() : get_zero());
}

void Interpolator::handle_comb(LaComb* comb, TermSet& vars) {
  assert(!to_visit_.empty() && to_visit_.back() == comb);
  CoeffList* const l1 = find_in_cache(comb->premise1);
  CoeffList* const l2 = find_in_cache(comb->premise2);
  if (l1 == nullptr) to_visit_.push_back(comb->premise1);
  if (l2 == nullptr) to_visit_.push_back(comb->premise2);
  if (l1 == nullptr || l2 == nullptr) return;
  to_visit_.pop_back();
  if (l1->empty() || l2->empty()) fail("empty coefficient list");
  if (is_zero(comb->coeff1) || is_zero(comb->coeff2)) fail("zero multiplier in LaComb");
  const FirstMultiplier of_premise1(*l1, comb->coeff1);
  const FirstMultiplier of_premise2(*l2, comb->coeff2);
  combine_eq_coeff_lists(*l1, *l2, store_in_cache(comb), vars);
}

void Interpolator::handle_comb_imp(LaCombImp* node, TermSet& vars) {
  assert(!to_visit_.empty() && to_visit_.back() == node);
  CoeffList* const list = find_in_cache(node->premise);
  if (list == nullptr) {
    to_visit_.push_back(node->premise);
    return;
  }
  to_visit_.pop_back();
  const TheoryLit lit = to_lit(node->constraint_id);
  Equation* negation = get_zero();
  if (is_constraint_of_A(lit, "unkonwn constraint in LaCombImp",
                         "AB-mixed term in LaCombImp", vars)) {
    const int id = mapper_->lit_constraint(!lit);
    if (is_zero_constr(id) || to_lit(id).has_no_atom())
      fail("unmapped negation in LaCombImp");
    negation = get_as_rhs(id, node->sign);
  }
  assert(negation != nullptr && !list->empty());
  CoeffList hypothesis{{nullptr, negation}};
  combine_eq_coeff_lists(hypothesis, *list, store_in_cache(node), vars);
}

void Interpolator::handle_neq(LaNeq* neq, TermSet& /*vars*/) {
  // The root is the lowest node of the stack. Anywhere else the parent of a node without
  // a list would wait for ever.
  if (to_visit_.size() > 1) fail("LaNeq below the root of a proof");
  assert(to_visit_.back() == neq);
  const bool lacks1 = find_in_cache(neq->case1) == nullptr;
  const bool lacks2 = find_in_cache(neq->case2) == nullptr;
  if (lacks1) to_visit_.push_back(neq->case1);
  if (lacks2) to_visit_.push_back(neq->case2);
  if (!lacks1 && !lacks2) to_visit_.pop_back();
}

bool Interpolator::is_constraint_of_A(TheoryLit lit, const char* unknown, const char* mixed,
                                      TermSet& vars) {
  if (lit.has_no_atom()) fail(unknown);
  const auto status = classify(lit.atom());
  if (classifier_->is_B_colorable(status)) {
    collect_vars(lit.atom(), &vars);
    return false;
  }
  if (!classifier_->is_A_colorable(status)) fail(mixed);
  return true;
}

void Interpolator::store_single(proof::Proof* p, Equation* e) {
  assert(e != nullptr && e->is_normal());
  store_in_cache(p)->emplace_back(nullptr, e);
}

// Terms are graphs, whose paths can be many more than their nodes: from the first few
// dozen visits on, seen terms are remembered. Atoms are mostly smaller than that, and
// spare the clearing of a table that one large atom has grown.
void Interpolator::collect_vars(const Term_* t, TermSet* vars) {
  assert(t != nullptr && vars != nullptr && vars != &seen_terms_);
  constexpr int VISITS_WITHOUT_TABLE = 64;
  seen_terms_.clear();
  term_stack_.assign(1, t);
  for (int visits = 0; !term_stack_.empty(); ++visits) {
    const Term_* const u = term_stack_.back();
    term_stack_.pop_back();
    assert(u != nullptr);
    if (visits > VISITS_WITHOUT_TABLE) {
      visits = VISITS_WITHOUT_TABLE;
      if (!seen_terms_.insert(u).second) continue;
    }
    if (!mgr_->is_interpreted(u->symbol())) vars->insert(u);
    term_stack_.insert(term_stack_.end(), u->begin(), u->end());
  }
}

}  // namespace opal::la

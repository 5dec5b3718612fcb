// Proofs as other programs read them: trees of named rules over literals and numerals.
//
//     node                  rule                          children
//     LaHyp, sign 0         la-hyp                        lit
//     LaHyp, sign s         la-hyp-eq                     s, lit
//     LaComb                la-comb                       c1, premise 1, c2, premise 2
//     LaCombImp             la-comb                       1, hypothesis not lit, 1, premise
//     LaNeq                 la-neq                        lit, case 1, case 2
//     LaEqSplitLemma        la-spliteq                    its three atoms
//     LaUnitLemma           la-unit                       lit
//     LaZInternalBBProof    la-branch-and-bound           lit, left, lit, right
//     LaZBBLemma            la-branch-and-bound-lemma     two or three lits
//     LaZEqSubProof         la-dioph                      c, lit for each equality
//     LaZTighteningProof    la-tight                      divisor; c, lit for each
//                                                         constraint, the conclusion last
//
// An implication says that its premise contradicts the negation of what it implies; as a
// combination it says just that, with the negated half of an equality for its sign. The
// conclusion of a cut, which enters with multiplier one, has the number 1.
//
// A fake hypothesis has no such form: it belongs to a split, not to the solver's proof.
//
// Example: the refutation of x <= 3 and 2x >= 7 is
//
//     la-comb 2 (la-hyp (<= x 3)) 1 (la-hyp (<= 7 (* 2 x)))
//
// Cost: each node is converted once, with an explicit stack, over all calls with the same
// proof manager.

#include <array>
#include <cassert>

#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

// The sub-proofs of a node in their order, and how many there are.
struct SubProofs {
  std::array<proof::Proof*, 2> proofs{};
  std::size_t count = 0;
};

SubProofs sub_proofs(proof::Proof* p) {
  if (const auto* comb = as<LaComb>(p)) return {{comb->premise1, comb->premise2}, 2};
  if (const auto* implied = as<LaCombImp>(p)) return {{implied->premise}, 1};
  if (const auto* neq = as<LaNeq>(p)) return {{neq->case1, neq->case2}, 2};
  if (const auto* tree = as<laz::LaZInternalBBProof>(p))
    return {{tree->left, tree->right}, 2};
  return {};
}

}  // namespace

ExternalProof* Interpolator::get_external_proof(ProofManager* pm, proof::Proof* proof) {
  assert(pm != nullptr);
  in_laz_bb_ = as<laz::LaZInternalBBProof>(proof) != nullptr;
  std::vector<proof::Proof*> stack{proof};
  ExternalNode node;
  while (!stack.empty()) {
    proof::Proof* const p = stack.back();
    if (pm->find_in_cache(p) != nullptr) {
      stack.pop_back();
      continue;
    }
    const std::size_t height = stack.size();
    const auto [premises, count] = sub_proofs(p);
    for (std::size_t i = 0; i < count; ++i)
      if (pm->find_in_cache(premises[i]) == nullptr) stack.push_back(premises[i]);
    if (stack.size() > height) {
      if (const auto* tree = as<laz::LaZInternalBBProof>(p)) {
        map_laz_bb_tlit(tree->left_id, tree->left_term);
        map_laz_bb_tlit(tree->right_id, tree->right_term);
      }
      continue;
    }
    stack.pop_back();
    assert(pm->find_in_cache(p) == nullptr);
    node.rule = nullptr;
    node.children.clear();
    export_rational_rule(*pm, p, node);
    if (node.rule == nullptr) export_integer_rule(*pm, p, node);
    if (node.rule == nullptr) return nullptr;
    for (const ExternalProof* child : node.children)
      if (child == nullptr) return nullptr;
    pm->store_in_cache(
        p, pm->new_ExternalProof(node.rule, node.children.size(), node.children.data()));
  }
  return pm->find_in_cache(proof);
}

void Interpolator::export_rational_rule(ProofManager& pm, proof::Proof* p,
                                        ExternalNode& node) {
  const auto lit_of = [&](int id) { return export_literal(pm, to_lit(id)); };
  const auto factor = [&](const QNumber* q) {
    return export_number(pm, q == nullptr ? LaComb::one : *q);
  };
  if (const auto* hyp = as<LaHyp>(p)) {
    export_hypothesis(pm, to_lit(hyp->constraint_id), hyp->sign, node);
  } else if (const auto* comb = as<LaComb>(p)) {
    node.rule = "la-comb";
    node.children = {factor(comb->coeff1), pm.find_in_cache(comb->premise1),
                     factor(comb->coeff2), pm.find_in_cache(comb->premise2)};
  } else if (const auto* implied = as<LaCombImp>(p)) {
    const TheoryLit lit = to_lit(implied->constraint_id);
    export_hypothesis(pm, lit.has_no_atom() ? lit : !lit, -implied->sign, node);
    ExternalProof* negation = nullptr;
    if (node.children.back() != nullptr)
      negation =
          pm.new_ExternalProof(node.rule, node.children.size(), node.children.data());
    node.rule = "la-comb";
    node.children = {factor(nullptr), negation, factor(nullptr),
                     pm.find_in_cache(implied->premise)};
  } else if (const auto* neq = as<LaNeq>(p)) {
    node.rule = "la-neq";
    node.children = {lit_of(neq->constraint_id), pm.find_in_cache(neq->case1),
                     pm.find_in_cache(neq->case2)};
  } else if (const auto* split = as<LaEqSplitLemma>(p)) {
    node.rule = "la-spliteq";
    for (const Term_* atom : {split->equality, split->inequality1, split->inequality2})
      node.children.push_back(export_literal(pm, TheoryLit(atom)));
  } else if (const auto* unit = as<LaUnitLemma>(p)) {
    node.rule = "la-unit";
    node.children = {export_literal(pm, unit->lit)};
  }
}

void Interpolator::export_integer_rule(ProofManager& pm, proof::Proof* p,
                                       ExternalNode& node) {
  if (const auto* tree = as<laz::LaZInternalBBProof>(p)) {
    node.rule = "la-branch-and-bound";
    node.children = {
        export_literal(pm, to_lit(tree->left_id)), pm.find_in_cache(tree->left),
        export_literal(pm, to_lit(tree->right_id)), pm.find_in_cache(tree->right)};
  } else if (const auto* lemma = as<laz::LaZBBLemma>(p)) {
    node.rule = "la-branch-and-bound-lemma";
    node.children = {export_literal(pm, lemma->lit1), export_literal(pm, lemma->lit2)};
    if (!lemma->lit3.is_null()) node.children.push_back(export_literal(pm, lemma->lit3));
  } else if (const auto* equalities = as<laz::LaZEqSubProof>(p)) {
    node.rule = "la-dioph";
    export_constraints(pm, equalities->constraints, equalities->coeffs, node);
  } else if (const auto* cut = as<laz::LaZTighteningProof>(p)) {
    node.rule = "la-tight";
    node.children = {export_number(pm, cut->divisor)};
    std::vector<QNumber> coeffs = cut->coeffs;
    if (coeffs.size() + 1 == cut->constraints.size()) coeffs.push_back(LaComb::one);
    export_constraints(pm, cut->constraints, coeffs, node);
  }
}

void Interpolator::export_hypothesis(ProofManager& pm, TheoryLit lit, int sign,
                                     ExternalNode& node) {
  assert(node.rule == nullptr && node.children.empty());
  node.rule = sign == 0 ? "la-hyp" : "la-hyp-eq";
  if (sign != 0) node.children.push_back(pm.get_term_proof(mgr_->make_number(sign)));
  node.children.push_back(export_literal(pm, lit));
}

void Interpolator::export_constraints(ProofManager& pm, const std::vector<int>& ids,
                                      const std::vector<QNumber>& coeffs,
                                      ExternalNode& node) {
  for (std::size_t i = 0; i < ids.size(); ++i) {
    node.children.push_back(i < coeffs.size() ? export_number(pm, coeffs[i]) : nullptr);
    node.children.push_back(export_literal(pm, to_lit(ids[i])));
  }
}

ExternalProof* Interpolator::export_literal(ProofManager& pm, TheoryLit lit) {
  if (lit.has_no_atom()) return nullptr;
  return pm.get_term_proof(lit.is_negated() ? mgr_->make_not(lit.atom()) : lit.atom());
}

ExternalProof* Interpolator::export_number(ProofManager& pm, const QNumber& q) {
  return pm.get_term_proof(mgr_->make_number(q));
}

}  // namespace opal::la

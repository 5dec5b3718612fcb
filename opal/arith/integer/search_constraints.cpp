// What a search adds to the constraints that are asserted, and proofs over all of them.
//
//     id  -2   x <= 2                   a branch
//     id  -3   x >= 3                   its other side
//     id  -4   x - y >= 1               a cut, of the asserted 7 and of the branch -3
//
// The mapper learns of a branch, and a tightening node is made of a cut, only when a
// refutation uses it: most of what a search adds is never used. A cut knows the branches
// among its premises, so that a refutation which uses the cut uses them.

#include "opal/arith/integer/search_constraints.h"

#include <algorithm>
#include <cassert>

#include "opal/interfaces/laz_proof.h"

namespace opal::host {

using la::LinearTerm;
using proof::ProofRef;

const SearchConstraints::Added& SearchConstraints::added(int constr_id) const {
  return added_[place_of(constr_id)];
}

std::size_t SearchConstraints::place_of(int constr_id) const {
  assert(is_added(constr_id));
  const auto place = static_cast<std::size_t>(Mapper::ZERO_CONSTRAINT - 1 - constr_id);
  assert(place < added_.size());
  return place;
}

bool SearchConstraints::is_normal(const Added& constraint) const {
  const std::vector<int>& branches = constraint.branches;
  if (!std::all_of(branches.begin(), branches.end(),
                   [this](int id) { return is_added(id) && !added(id).cut.has_value(); }))
    return false;
  if (!constraint.term.vars.has_vars() || !constraint.term.constant.is_integer())
    return false;
  return std::is_sorted(branches.begin(), branches.end()) &&
         (constraint.cut ? constraint.cut->is_normal() : branches.size() == 1);
}

const LinearTerm& SearchConstraints::constraint_term(int constr_id) const {
  return is_added(constr_id) ? added(constr_id).term : mapper_.constraint_term(constr_id);
}

int SearchConstraints::add(Added constraint) {
  added_.push_back(std::move(constraint));
  return Mapper::ZERO_CONSTRAINT - static_cast<int>(added_.size());
}

int SearchConstraints::add_branch(LinearTerm branch) {
  assert(branch.kind == LinearTerm::LEQ || branch.kind == LinearTerm::GEQ);
  const int id = add({std::move(branch), std::nullopt, {}, {}});
  added_.back().branches.push_back(id);
  assert(is_normal(added(id)));
  return id;
}

int SearchConstraints::add_cut(Cut cut) {
  std::vector<int> branches;
  for (const CutPremise& premise : cut.premises) {
    assert(!is_added(premise.constraint_id) || !added(premise.constraint_id).cut);
    const std::vector<int> below = branches_below(premise.constraint_id);
    branches.insert(branches.end(), below.begin(), below.end());
  }
  std::sort(branches.begin(), branches.end());
  branches.erase(std::unique(branches.begin(), branches.end()), branches.end());
  LinearTerm term = cut.term;
  const int id = add({std::move(term), std::move(cut), std::move(branches), {}});
  assert(is_normal(added(id)));
  return id;
}

std::vector<int> SearchConstraints::branches_below(int constr_id) const {
  return is_added(constr_id) ? added(constr_id).branches : std::vector<int>();
}

int SearchConstraints::mapper_id(int constr_id) {
  if (!is_added(constr_id)) return constr_id;
  const Added& branch = added(constr_id);
  assert(!branch.cut);
  return mapper_.branch_constraint(branch.term);
}

// The conclusion is an inequality among the premises, taken once. An equality counts for
// sum - constant, which the conclusion reads the other way round if it is a <=.
ProofRef SearchConstraints::tightening_node(const Cut& cut) {
  const auto is_inequality = [&](const CutPremise& premise) {
    return constraint_term(premise.constraint_id).kind != LinearTerm::EQ;
  };
  const CutPremise* conclusion = nullptr;
  for (const CutPremise& premise : cut.premises) {
    if (!is_inequality(premise)) continue;
    assert(premise.multiplier.sign() > 0);
    if (conclusion == nullptr || premise.multiplier < conclusion->multiplier)
      conclusion = &premise;
  }
  assert(conclusion != nullptr);
  const bool at_most = constraint_term(conclusion->constraint_id).kind == LinearTerm::LEQ;
  std::vector<int> ids;
  std::vector<QNumber> multipliers;
  for (const CutPremise& premise : cut.premises) {
    QNumber multiplier = premise.multiplier;
    if (&premise == conclusion) multiplier -= QNumber(1);
    if (multiplier.is_zero()) continue;
    const bool reversed = at_most && !is_inequality(premise);
    ids.push_back(mapper_id(premise.constraint_id));
    multipliers.push_back(reversed ? multiplier.neg() : multiplier);
  }
  ids.push_back(mapper_id(conclusion->constraint_id));
  assert(multipliers.size() + 1 == ids.size());
  return ProofRef(new laz::LaZTighteningProof(std::move(ids), std::move(multipliers),
                                              cut.divisor, mapper_.cut_variable()));
}

ProofRef SearchConstraints::leaf(const FarkasLeaf& leaf) {
  if (!is_added(leaf.constraint_id)) return hypothesis(leaf);
  Added& constraint = added_[place_of(leaf.constraint_id)];
  assert(leaf.sign == 0);  // branches and cuts are inequalities
  if (!constraint.cut) return hypothesis({mapper_id(leaf.constraint_id), 0, QNumber(1)});
  if (!constraint.node) constraint.node = tightening_node(*constraint.cut);
  return constraint.node;
}

ProofRef SearchConstraints::refutation(FarkasCombination combination) {
  assert(!combination.empty());
  return farkas_proof(*this, std::move(combination),
                      [this](const FarkasLeaf& l) { return leaf(l); });
}

ProofRef SearchConstraints::join(int left, ProofRef left_proof, int right,
                                 ProofRef right_proof) {
  assert(left_proof && right_proof && is_added(left) && is_added(right));
  const int left_id = mapper_id(left), right_id = mapper_id(right);
  la::LinearTerm left_term = constraint_term(left), right_term = constraint_term(right);
  assert(left_term.kind == LinearTerm::LEQ && right_term.kind == LinearTerm::GEQ);
  assert(left_term.vars.coeffs() == right_term.vars.coeffs());
  assert(left_term.constant + QNumber(1) == right_term.constant);
  // What can fail has been done before the premises are handed over.
  return ProofRef(new laz::LaZInternalBBProof(left_proof.take(), right_proof.take(),
                                              left_id, right_id, std::move(left_term),
                                              std::move(right_term)));
}

}  // namespace opal::host

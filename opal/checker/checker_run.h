#ifndef OPAL_CHECKER_CHECKER_RUN_H
#define OPAL_CHECKER_CHECKER_RUN_H

#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "opal/checker/checked_constraint.h"
#include "opal/checker/proof_checker.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"

namespace opal::host {

/// Checks one refutation: throws Broken where it is none, or breaks a promise.
class ProofChecker::Run {
 public:
  Run(la::ItpLinearTermMapper& mapper, const std::unordered_set<const Term_*>& asserted)
      : mapper_(mapper), constraints_(mapper, asserted) {}

  void refutation(const proof::Proof* root);

 private:
  using BranchIds = std::set<int>;

  // The disequality that a case may use, and the sign with which it does (0: not yet).
  struct Split {
    int constraint_id;
    int sign;
  };
  struct Visit {
    const proof::Proof* node;
    const QNumber* multiplier;  // null for one
  };
  // What is used of a node: `sum` is >= 0, or > 0 when strict.
  struct Derived {
    CheckedSum sum;
    bool strict;
    std::vector<int> branches;  // the branch constraints among the premises
  };
  // The nodes of a tree, branches before the node that they belong to.
  struct Tree {
    std::vector<const proof::Proof*> order;
    std::unordered_map<const proof::Proof*, std::size_t> parents;  // how many of each
  };

  // --- proof_checker.cpp: combinations and disequalities
  /// The refutation of a leaf of the tree; answers the branch constraints that it uses.
  BranchIds leaf(const proof::Proof* root);
  void disequality(const la::LaNeq& node);
  void combination(const proof::Proof* root, Split* split);  // `split` may be null
  Derived hypothesis(const la::LaHyp& hyp, Split* split) const;
  static void push_premises(const proof::Proof& node, std::vector<Visit>& stack);

  // --- check_integers.cpp: cuts and equality sub-proofs
  /// Checked at first sight, then remembered: leaves of a tree share cuts.
  const Derived& cut(const laz::LaZTighteningProof& node);
  [[nodiscard]] Derived combined(const laz::LaZTighteningProof& node) const;
  void enter_cut_variable(const laz::LaZTighteningProof& node);
  void check_cut_variables() const;
  void equality_proof(const laz::LaZEqSubProof& node) const;

  // --- check_branches.cpp: trees of branches
  void tree(const laz::LaZInternalBBProof& root);
  Tree nodes_of(const proof::Proof* root);

  la::ItpLinearTermMapper& mapper_;
  CheckedConstraints constraints_;
  BranchIds used_;  // by the leaf under way
  std::unordered_map<const proof::Proof*, Derived> cuts_;
  std::map<int, const Term_*> cut_variables_;
};

}  // namespace opal::host

#endif

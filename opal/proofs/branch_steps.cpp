// The integer steps of a refutation: branches stand at its top, cuts and equality
// sub-proofs below them.
//
//     x <= 2 or x >= 3            a branch
//       |          |
//     LaComb     LaEqSub          two leaves of the tree of branches
//
// All walks are linear in the nodes of the proof, each of which is met once.

#include "opal/proofs/branch_steps.h"

#include <cassert>

#include "opal/interfaces/rule_cast.h"
#include "opal/proofs/proof_walk.h"

namespace opal::host {

BranchTree branch_tree(proof::Proof& root) {
  BranchTree tree;
  walk_proof(root, [&tree](proof::Proof* node) {
    auto* const branch = la::as<laz::LaZInternalBBProof>(node);
    if (branch == nullptr) {
      tree.leaves.push_back(node);
    } else {
      assert(branch->left != nullptr && branch->right != nullptr);
      tree.branches.push_back(branch);
    }
    return branch != nullptr;
  });
  // A branch has two children, and each node but the root is one; shared nodes count once.
  assert(!tree.leaves.empty() && tree.leaves.size() <= tree.branches.size() + 1);
  return tree;
}

std::vector<laz::LaZTighteningProof*> cuts_in(proof::Proof& root) {
  std::vector<laz::LaZTighteningProof*> cuts;
  walk_proof(root, [&cuts](proof::Proof* node) {
    if (auto* cut = la::as<laz::LaZTighteningProof>(node)) {
      assert(cut->coeffs.size() + 1 == cut->constraints.size());
      cuts.push_back(cut);
    }
    return true;
  });
  return cuts;
}

bool is_rational(proof::Proof& root) {
  bool rational = true;
  walk_proof(root, [&rational](const proof::Proof* node) {
    rational = rational && !la::is<laz::LaZTighteningProof>(node) &&
               !la::is<laz::LaZInternalBBProof>(node) && !la::is<laz::LaZEqSubProof>(node);
    return rational;
  });
  return rational;
}

}  // namespace opal::host

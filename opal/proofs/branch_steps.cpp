#include "opal/proofs/branch_steps.h"

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
      tree.branches.push_back(branch);
    }
    return branch != nullptr;
  });
  return tree;
}

std::vector<laz::LaZTighteningProof*> cuts_in(proof::Proof& root) {
  std::vector<laz::LaZTighteningProof*> cuts;
  walk_proof(root, [&cuts](proof::Proof* node) {
    if (auto* cut = la::as<laz::LaZTighteningProof>(node)) cuts.push_back(cut);
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

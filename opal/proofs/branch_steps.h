#ifndef OPAL_PROOFS_BRANCH_STEPS_H
#define OPAL_PROOFS_BRANCH_STEPS_H

#include <vector>

#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/proof.h"

namespace opal::host {

/// The tree of branches at the top of a refutation, each node once, parents first and left
/// before right. A proof without branches is a leaf itself.
struct BranchTree {
  std::vector<laz::LaZInternalBBProof*> branches;
  std::vector<proof::Proof*> leaves;
};
/// Iterative.
BranchTree branch_tree(proof::Proof& root);

/// The cuts of a refutation, each once. Iterative.
std::vector<laz::LaZTighteningProof*> cuts_in(proof::Proof& root);

/// Whether no step of a refutation is about integers. Iterative.
bool is_rational(proof::Proof& root);

}  // namespace opal::host

#endif

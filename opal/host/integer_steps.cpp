#include "opal/host/integer_steps.h"

#include <unordered_set>

#include "opal/interfaces/la_proof.h"

namespace opal::host {

namespace {

// Calls visit for each node, once, parents first. visit answers whether the node's premises
// are to be visited.
template <typename Visit>
void walk(proof::Proof& root, Visit visit) {
  std::vector<proof::Proof*> waiting{&root};
  std::unordered_set<const proof::Proof*> seen;
  while (!waiting.empty()) {
    proof::Proof* const node = waiting.back();
    waiting.pop_back();
    if (node->references() > 1 && !seen.insert(node).second) continue;
    if (!visit(node)) continue;
    if (const auto* comb = dynamic_cast<const la::LaComb*>(node)) {
      waiting.push_back(comb->premise2);
      waiting.push_back(comb->premise1);
    } else if (const auto* neq = dynamic_cast<const la::LaNeq*>(node)) {
      waiting.push_back(neq->case2);
      waiting.push_back(neq->case1);
    } else if (const auto* branch = dynamic_cast<const laz::LaZInternalBBProof*>(node)) {
      waiting.push_back(branch->right);
      waiting.push_back(branch->left);
    }
  }
}

}  // namespace

BranchTree branch_tree(proof::Proof& root) {
  BranchTree tree;
  walk(root, [&tree](proof::Proof* node) {
    auto* const branch = dynamic_cast<laz::LaZInternalBBProof*>(node);
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
  walk(root, [&cuts](proof::Proof* node) {
    if (auto* cut = dynamic_cast<laz::LaZTighteningProof*>(node)) cuts.push_back(cut);
    return true;
  });
  return cuts;
}

bool is_rational(proof::Proof& root) {
  bool rational = true;
  walk(root, [&rational](const proof::Proof* node) {
    rational = rational && dynamic_cast<const laz::LaZTighteningProof*>(node) == nullptr &&
               dynamic_cast<const laz::LaZInternalBBProof*>(node) == nullptr &&
               dynamic_cast<const laz::LaZEqSubProof*>(node) == nullptr;
    return rational;
  });
  return rational;
}

}  // namespace opal::host

#ifndef OPAL_PROOFS_PROOF_WALK_H
#define OPAL_PROOFS_PROOF_WALK_H

#include <array>
#include <cassert>
#include <cstddef>
#include <unordered_set>
#include <vector>

#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/proof.h"
#include "opal/interfaces/rule_cast.h"

namespace opal::host {

/// The premises of a node, of the rules that the solver uses: two, or none for a leaf.
struct Premises {
  std::array<proof::Proof*, 2> nodes{};
  std::size_t count = 0;
};
inline Premises premises_of(const proof::Proof& node) {
  if (const auto* comb = la::as<la::LaComb>(&node))
    return {{comb->premise1, comb->premise2}, 2};
  if (const auto* neq = la::as<la::LaNeq>(&node)) return {{neq->case1, neq->case2}, 2};
  if (const auto* branch = la::as<laz::LaZInternalBBProof>(&node))
    return {{branch->left, branch->right}, 2};
  return {};
}

/// Calls `visit` for each node of a proof, of the rules that the solver uses, once: parents
/// first, the first premise and all below it before the second. visit(node) answers whether
/// to go on to the node's premises. Node is proof::Proof, const or not. Iterative.
template <typename Node, typename Visit>
void walk_proof(Node& root, Visit visit) {
  std::vector<Node*> waiting{&root};
  std::unordered_set<const proof::Proof*> seen;
  while (!waiting.empty()) {
    Node* const node = waiting.back();
    assert(node != nullptr);
    waiting.pop_back();
    if (node->references() > 1 && !seen.insert(node).second) continue;
    if (!visit(node)) continue;
    const Premises premises = premises_of(*node);
    for (std::size_t i = premises.count; i > 0; --i)
      waiting.push_back(premises.nodes[i - 1]);
  }
}

}  // namespace opal::host

#endif

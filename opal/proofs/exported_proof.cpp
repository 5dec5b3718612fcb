// Exported proofs: what the engine builds through the proof manager's interface.
//
// Nodes stand in a deque, so their addresses stay; the id of a node is its place in it, and
// children are made before their parents. That gives a walk without recursion and without a
// set of visited nodes: a table by id. Example: (la-comb 1 (la-hyp a) 1 (la-hyp b)) has six
// nodes, such as 1 = a, 2 = (la-hyp a), 3 = b, 4 = (la-hyp b), 5 = the number and the
// root 6.

#include "opal/proofs/exported_proof.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/terms/print/printer.h"

namespace opal::host {

ExternalProof* ExternalProofs::find_in_cache(proof::Proof* p) {
  assert(p != nullptr);
  const auto it = cache_.find(p);
  return it == cache_.end() ? nullptr : it->second.exported;
}

void ExternalProofs::store_in_cache(proof::Proof* p, ExternalProof* exported) {
  assert(p != nullptr && exported != nullptr);
  cache_.insert_or_assign(p, Entry{proof::ProofRef(proof::Proof::retain(p)), exported});
}

ExternalProof* ExternalProofs::new_ExternalProof(const char* rule, std::size_t count,
                                                 ExternalProof** children) {
  assert(children != nullptr || count == 0);
  return &nodes_.emplace_back(nodes_.size() + 1, rule,
                              std::vector<ExternalProof*>(children, children + count));
}

ExternalProof* ExternalProofs::get_term_proof(const Term_* term) {
  assert(term != nullptr);
  ExternalProof*& leaf = leaves_[term];
  if (leaf != nullptr) return leaf;
  std::vector<ExternalProof*> constants;
  if (!constants_.empty()) {
    for (const Term_* variable : variables_of({term}))
      if (const auto it = constants_.find(variable); it != constants_.end())
        constants.push_back(it->second);
  }
  leaf = &nodes_.emplace_back(nodes_.size() + 1, term, std::move(constants));
  assert(leaf->is_leaf() && leaf->term() == term);
  return leaf;
}

ExternalProof* ExternalProofs::new_part(const char* connective,
                                        std::vector<ExternalProof*> children,
                                        const Term_* constant) {
  ExternalProof* const node =
      &nodes_.emplace_back(nodes_.size() + 1, connective, std::move(children),
                           ExternalProof::Role::PART, constant);
  if (constant != nullptr) {
    assert(leaves_.count(constant) == 0 && constants_.count(constant) == 0);
    constants_.emplace(constant, node);
  }
  return node;
}

std::vector<const ExternalProof*> nodes_of(const ExternalProof& root) {
  std::vector<const ExternalProof*> by_id(root.id() + 1);
  std::vector<const ExternalProof*> waiting{&root};
  by_id[root.id()] = &root;
  while (!waiting.empty()) {
    const ExternalProof* const p = waiting.back();
    waiting.pop_back();
    for (const ExternalProof* child : p->children()) {
      assert(child->id() < p->id());
      assert(by_id[child->id()] == nullptr || by_id[child->id()] == child);
      if (by_id[child->id()] != nullptr) continue;
      by_id[child->id()] = child;
      waiting.push_back(child);
    }
  }
  by_id.erase(std::remove(by_id.begin(), by_id.end(), nullptr), by_id.end());
  assert(by_id.back() == &root);
  return by_id;
}

}  // namespace opal::host

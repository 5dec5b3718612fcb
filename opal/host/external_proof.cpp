#include "opal/host/external_proof.h"

#include <cassert>

namespace opal::host {

ExternalProof* ExternalProofs::find_in_cache(proof::Proof* p) {
  const auto it = cache_.find(p);
  return it == cache_.end() ? nullptr : it->second.exported;
}

void ExternalProofs::store_in_cache(proof::Proof* p, ExternalProof* exported) {
  assert(p != nullptr && exported != nullptr);
  cache_.insert_or_assign(p, Entry{proof::ProofRef(proof::Proof::retain(p)), exported});
}

ExternalProof* ExternalProofs::new_ExternalProof(const char* rule, std::size_t count,
                                                 ExternalProof** children) {
  return &nodes_.emplace_back(nodes_.size() + 1, rule,
                              std::vector<ExternalProof*>(children, children + count));
}

ExternalProof* ExternalProofs::get_term_proof(const Term_* term) {
  assert(term != nullptr);
  ExternalProof*& leaf = leaves_[term];
  if (leaf == nullptr) leaf = &nodes_.emplace_back(nodes_.size() + 1, term);
  return leaf;
}

}  // namespace opal::host

#ifndef OPAL_PROOFS_EXPORTED_PROOF_H
#define OPAL_PROOFS_EXPORTED_PROOF_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interfaces/proof_manager.h"

namespace opal {

/// A node of an exported proof: a rule with children, or the leaf of a term.
class ExternalProof {
 public:
  /// A leaf.
  ExternalProof(std::uint64_t number, const Term_* t) : id_(number), rule_(""), term_(t) {
    assert(number > 0 && t != nullptr);
  }
  /// A rule; `rule` lives for ever.
  ExternalProof(std::uint64_t number, const char* rule,
                std::vector<ExternalProof*> children)
      : id_(number), rule_(rule), children_(std::move(children)) {
    assert(number > 0 && rule != nullptr && *rule != '\0');
    assert(std::all_of(children_.begin(), children_.end(), [number](const auto* child) {
      return child != nullptr && child->id() < number;
    }));
  }

  /// The place in the order in which a manager makes nodes: from 1 on, children before
  /// their parents.
  [[nodiscard]] std::uint64_t id() const { return id_; }
  [[nodiscard]] bool is_leaf() const { return term_ != nullptr; }
  /// The rule's name, "" for a leaf.
  [[nodiscard]] const char* rule() const { return rule_; }
  /// The literal or numeral of a leaf, else null.
  [[nodiscard]] const Term_* term() const { return term_; }
  [[nodiscard]] const std::vector<ExternalProof*>& children() const { return children_; }

 private:
  const std::uint64_t id_;
  const char* const rule_;
  const Term_* const term_ = nullptr;
  const std::vector<ExternalProof*> children_;
};

}  // namespace opal

namespace opal::host {

/// The proof manager of the reference host. Exported nodes live as long as it; equal terms
/// have one leaf. It holds a reference to every proof node that it remembers.
class ExternalProofs final : public ProofManager {
 public:
  ExternalProof* find_in_cache(proof::Proof* p) override;
  void store_in_cache(proof::Proof* p, ExternalProof* exported) override;
  ExternalProof* new_ExternalProof(const char* rule, std::size_t count,
                                   ExternalProof** children) override;
  ExternalProof* get_term_proof(const Term_* term) override;

  /// The number of nodes made so far.
  [[nodiscard]] std::size_t size() const { return nodes_.size(); }

 private:
  struct Entry {
    proof::ProofRef node;
    ExternalProof* exported;
  };

  std::deque<ExternalProof> nodes_;
  std::unordered_map<const proof::Proof*, Entry> cache_;
  std::unordered_map<const Term_*, ExternalProof*> leaves_;
};

/// The nodes of an exported proof, each once, in the order of their ids: children before
/// their parents, the root last. Iterative.
std::vector<const ExternalProof*> nodes_of(const ExternalProof& root);

}  // namespace opal::host

#endif

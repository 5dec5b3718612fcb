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

/// A node of an exported proof: a rule with children, or the leaf of a term. A connective
/// of a formula that is no literal is a rule too, so that formulas share their parts. A
/// node may stand for a constant that terms have in them; children of a leaf are the nodes
/// for the constants in its term.
class ExternalProof {
 public:
  /// Steps derive something, parts are what they speak of.
  enum class Role : std::uint8_t { STEP, PART };

  /// A leaf.
  ExternalProof(std::uint64_t number, const Term_* t,
                std::vector<ExternalProof*> constants = {})
      : id_(number),
        rule_(""),
        role_(Role::PART),
        term_(t),
        children_(std::move(constants)) {
    assert(number > 0 && t != nullptr && children_precede());
  }
  /// A rule; `rule` lives for ever. `constant` is what the node stands for, or null.
  ExternalProof(std::uint64_t number, const char* rule,
                std::vector<ExternalProof*> children, Role role = Role::STEP,
                const Term_* constant = nullptr)
      : id_(number),
        rule_(rule),
        role_(role),
        constant_(constant),
        children_(std::move(children)) {
    assert(number > 0 && rule != nullptr && *rule != '\0' && children_precede());
  }

  /// The place in the order in which a manager makes nodes: from 1 on, children before
  /// their parents.
  [[nodiscard]] std::uint64_t id() const { return id_; }
  [[nodiscard]] bool is_leaf() const { return term_ != nullptr; }
  /// The rule's name, "" for a leaf.
  [[nodiscard]] const char* rule() const { return rule_; }
  [[nodiscard]] bool is_step() const { return role_ == Role::STEP; }
  /// The constant whose value the node is, else null.
  [[nodiscard]] const Term_* constant() const { return constant_; }
  /// The literal or numeral of a leaf, else null.
  [[nodiscard]] const Term_* term() const { return term_; }
  [[nodiscard]] const std::vector<ExternalProof*>& children() const { return children_; }

 private:
  [[maybe_unused, nodiscard]] bool children_precede() const {
    return std::all_of(children_.begin(), children_.end(), [this](const auto* child) {
      return child != nullptr && child->id() < id_;
    });
  }

  const std::uint64_t id_;
  const char* const rule_;
  const Role role_;
  const Term_* const term_ = nullptr;
  const Term_* const constant_ = nullptr;
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
  /// A connective, or `ite` of numbers; of a number that a constant stands for, if any is
  /// given. That constant must be in no leaf yet.
  ExternalProof* new_part(const char* connective, std::vector<ExternalProof*> children,
                          const Term_* constant = nullptr);

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
  std::unordered_map<const Term_*, ExternalProof*> constants_;  // that nodes stand for
};

/// The nodes of an exported proof, each once, in the order of their ids: children before
/// their parents, the root last. Iterative.
std::vector<const ExternalProof*> nodes_of(const ExternalProof& root);

}  // namespace opal::host

#endif

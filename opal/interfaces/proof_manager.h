#ifndef OPAL_INTERFACES_PROOF_MANAGER_H
#define OPAL_INTERFACES_PROOF_MANAGER_H

// Proofs in the form of a host of their own.

#include <cstddef>

#include "opal/interfaces/proof.h"
#include "opal/interfaces/term.h"

namespace opal {

/// A node of an exported proof: a rule with its children, or a leaf that stands for a term.
/// What it is made of is the proof manager's business.
class ExternalProof;

/// Makes and owns exported proofs, and remembers which proof node became which of them.
class ProofManager {
 public:
  ProofManager() = default;
  ProofManager(const ProofManager&) = delete;
  ProofManager& operator=(const ProofManager&) = delete;
  virtual ~ProofManager() = default;

  /// What store_in_cache stored for a node, or null; null for null. An implementation
  /// keeps a reference to the nodes that it remembers, lest another one take their place.
  virtual ExternalProof* find_in_cache(proof::Proof* p) = 0;
  virtual void store_in_cache(proof::Proof* p, ExternalProof* exported) = 0;
  /// A new node. `rule` is a literal and lives for ever; the array of children is the
  /// caller's, and is copied.
  virtual ExternalProof* new_ExternalProof(const char* rule, std::size_t count,
                                           ExternalProof** children) = 0;
  /// The leaf of a literal or numeral.
  virtual ExternalProof* get_term_proof(const Term_* term) = 0;
};

}  // namespace opal

#endif

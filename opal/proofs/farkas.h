#ifndef OPAL_PROOFS_FARKAS_H
#define OPAL_PROOFS_FARKAS_H

#include <cstdint>
#include <functional>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/linear/constraint_terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// One constraint of a Farkas combination, with a positive multiplier. `sign` is 0 for an
/// inequality; -1 takes the at-most half of an equality or disequality, +1 its at-least
/// half (of a disequality the strict halves).
struct FarkasLeaf {
  int constraint_id;
  int sign;
  QNumber multiplier;

  /// A sign and a multiplier in their ranges, and an id that is none of "no constraint".
  [[nodiscard]] bool is_normal() const {
    return constraint_id != 0 && sign >= -1 && sign <= 1 && multiplier.sign() > 0;
  }
};

/// A refutation: the weighted sum of the leaves, each read as "... >= 0" with the
/// strictness variable, is a negative constant or zero with a negative strictness part.
using FarkasCombination = std::vector<FarkasLeaf>;

/// What farkas_proof() does to multipliers.
enum class Multipliers : std::uint8_t { COPRIME, AS_GIVEN };

/// The proof of a combination, which must not be empty. Leaves of the same constraint and
/// sign are added up; multipliers are scaled to coprime integers, unless they are wanted as
/// given; leaves are ordered so that the uses of a variable lie together.
///
/// A multiplier other than null stands only on leaves: the engine applies the multiplier of
/// a premise to the first pair of its list, and only a leaf's list is sure to have one
/// pair. Long combinations are balanced trees of runs of leaves, so that the lists that the
/// engine keeps for the nodes stay short in sum.
///
/// `make_leaf` gives the node of a leaf, whose multiplier is not its concern.
using LeafMaker = std::function<proof::ProofRef(const FarkasLeaf&)>;
proof::ProofRef hypothesis(const FarkasLeaf& leaf);
proof::ProofRef farkas_proof(const ConstraintTerms& terms, FarkasCombination leaves,
                             const LeafMaker& make_leaf = hypothesis,
                             Multipliers multipliers = Multipliers::COPRIME);

/// The refutation of a disequality by its two strict sides (at-most first).
proof::ProofRef disequality_proof(int constraint_id, proof::ProofRef at_most,
                                  proof::ProofRef at_least);

/// The constraint ids in a proof, ascending, each once: those of hypotheses, cuts,
/// disequalities and equality sub-proofs. Those of branches are among them as far as they
/// are used. Iterative.
std::vector<int> proof_constraints(const proof::Proof& root);

}  // namespace opal::host

#endif

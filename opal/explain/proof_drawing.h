#ifndef OPAL_EXPLAIN_PROOF_DRAWING_H
#define OPAL_EXPLAIN_PROOF_DRAWING_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <unordered_map>
#include <vector>

#include "opal/proofs/exported_proof.h"

namespace opal::host {

/// What a drawing shows of a proof in one partition into A and B, beyond the proof itself.
struct ProofNotes {
  enum class Side : std::uint8_t { NONE, A, B, SHARED };

  std::unordered_map<const ExternalProof*, Side> sides;  // of leaves that are literals
  /// Of rules other than hypotheses: the constraint that they derive, where it is one, and
  /// the partial interpolant.
  std::unordered_map<const ExternalProof*, const Term_*> derived;
  std::unordered_map<const ExternalProof*, const Term_*> interpolants;
  const Term_* answer = nullptr;  // the interpolant, shown at the root
  std::string name_of_A;          // what the sides are made of, for the legend
  std::string name_of_B;
  std::vector<std::string> remarks;  // lines above the drawing
};

/// Writes a proof as a graph in the language DOT of Graphviz: hypotheses on top, arrows
/// from premises to conclusions, multipliers beside them unless they are one, the root at
/// the bottom. A hypothesis is drawn once, however often it is used, a half of an equality
/// as a hypothesis of its own. Sides are told apart by colours of different brightness, and
/// in words. Texts are cut at sixty characters; pointed at, a node shows more.
///
/// Deterministic and iterative. Without notes, sides and interpolants are left out.
void draw_proof(std::ostream& out, const ExternalProof& root, const ProofNotes& notes = {});

}  // namespace opal::host

#endif

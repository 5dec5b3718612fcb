// Checks refutations by resolution, without knowing who made them.
//
// Of a proof (opal/proofs/resolution/clause_proof.h) it demands that
//
//   - every leaf is a clause the caller recognises: an input clause with this tag and these
//     literals, or a lemma that holds in the theory,
//   - no leaf and no clause on the way holds a literal and its negation,
//   - in each step the antecedent has the pivot, the clause so far has its negation, and
//     that is the only variable on which the two clash,
//   - what is proved at the end is a part of the clause that is claimed.
//
// It derives every clause anew from the leaves with tables of its own. A clause is
// forgotten after its last use. Time is linear in the sizes of the clauses used, memory in
// the proof and the clauses that wait for their last use.

#ifndef OPAL_CHECKER_RESOLUTION_CHECKER_H
#define OPAL_CHECKER_RESOLUTION_CHECKER_H

#include <functional>
#include <optional>
#include <string>

#include "opal/proofs/resolution/clause_proof.h"

namespace opal::checker {

/// Who says whether a leaf may stand in a proof; the literals come as they stand there.
struct LeafJudges {
  using Judge = std::function<bool(resolution::LiteralSpan literals, resolution::Tag tag)>;
  Judge is_input;
  Judge is_lemma;
};

/// Nothing when `proof` proves `claim` or a part of it (with an empty claim: refutes the
/// leaves); else the node, what was found there and what was expected.
[[nodiscard]] std::optional<std::string> fault_of_resolution_proof(
    const resolution::ClauseProof& proof, resolution::LiteralSpan claim,
    const LeafJudges& judges);

}  // namespace opal::checker

#endif

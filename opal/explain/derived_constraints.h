#ifndef OPAL_EXPLAIN_DERIVED_CONSTRAINTS_H
#define OPAL_EXPLAIN_DERIVED_CONSTRAINTS_H

#include <unordered_map>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/exported_proof.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A term for each of some nodes of an exported proof.
using StepTerms = std::unordered_map<const ExternalProof*, const Term_*>;

/// The nodes of a proof other than hypotheses, each once, the root first. Iterative.
std::vector<proof::Proof*> proof_steps(proof::Proof* root);

/// What the combinations and cuts among the steps of a proof derive: a constraint with the
/// coefficients that the multipliers give it, no factor taken out, and its constant on the
/// right. The steps are known to `exports`. Each step is summed up by itself, which takes
/// time quadratic in the size of the proof. Throws LimitReached at a limit.
StepTerms derived_constraints(Terms& terms, la::Solver& solver, Mapper& mapper,
                              const std::vector<proof::Proof*>& steps,
                              ExternalProofs& exports);

}  // namespace opal::host

#endif

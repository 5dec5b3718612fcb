#ifndef OPAL_EXPLAIN_CLAUSE_EXPORT_H
#define OPAL_EXPLAIN_CLAUSE_EXPORT_H

#include <functional>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/exported_proof.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// Who has the proof of a lemma, which lives at least as long as the export goes on: a
/// refutation of the negations of its literals.
using LemmaProver = std::function<proof::Proof*(resolution::NodeIndex)>;

/// A refutation of formulas in the form that other programs read; `nodes` keeps it. Its
/// rules are cl-input, cl-lemma and cl-resolve; see docs/proofs.md. As large as the
/// refutation, its lemmas' proofs and the formulas in it are as graphs; iterative. Null
/// when a lemma's proof has a node without an external form. Passes on what the prover
/// throws.
const ExternalProof* exported(ExternalProofs& nodes,
                              const resolution::ClauseRefutation& refutation, Terms& terms,
                              Mapper& mapper, const LemmaProver& prove);

}  // namespace opal::host

#endif

#ifndef OPAL_PROOFS_PROOF_LISTING_H
#define OPAL_PROOFS_PROOF_LISTING_H

#include <iosfwd>

#include "opal/interfaces/proof.h"
#include "opal/linear/mapper.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// Prints a refutation for people who look for a fault: what its variables and constraints
/// stand for, then its nodes as an indented tree, the rational ones as
/// la::Interpolator::dump prints them. A branch that occurs again is printed once and then
/// named by its number. Iterative.
void dump_proof(std::ostream& out, proof::Proof& proof, Terms& terms, Mapper& mapper);

}  // namespace opal::host

#endif

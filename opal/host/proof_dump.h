#ifndef OPAL_HOST_PROOF_DUMP_H
#define OPAL_HOST_PROOF_DUMP_H

#include <iosfwd>

#include "opal/host/mapper.h"
#include "opal/host/terms.h"
#include "opal/interfaces/proof.h"

namespace opal::host {

/// Prints a refutation for people who look for a fault: what its variables and constraints
/// stand for, then its nodes as an indented tree, the rational ones as
/// la::Interpolator::dump prints them. A branch that occurs again is printed once and then
/// named by its number. Iterative.
void dump_proof(std::ostream& out, proof::Proof& proof, Terms& terms, Mapper& mapper);

}  // namespace opal::host

#endif

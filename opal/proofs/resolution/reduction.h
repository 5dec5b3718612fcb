// Makes refutations by resolution smaller.
//
//   lower_units       A clause of one literal that is used in many places is resolved away
//                     once, at the end, rather than in each of these places.
//   recycle_pivots    A step on a literal that is resolved away again further down is
//                     redundant: the half of the proof on one side of it is cut off.
//
// Both leave a proof whose conclusion is a part of the one before, and throw nothing away
// that is a proof of the same leaves: leaves of the new proof are leaves of the old one.
// (Bar-Ilan, Fuhrmann, Hoory, Shacham, Strichman, "Linear-time reductions of resolution
// proofs", 2008; Fontaine, Merz, Woltzenlogel Paleo, "Compression of propositional
// resolution proofs via partial regularization", 2011.)

#ifndef OPAL_PROOFS_RESOLUTION_REDUCTION_H
#define OPAL_PROOFS_RESOLUTION_REDUCTION_H

#include "opal/host/limits.h"
#include "opal/proofs/resolution/clause_proof.h"

namespace opal::resolution {

/// `proof` with units resolved at the end. `limits` may be null; LimitReached is thrown
/// when one of them ends the work.
[[nodiscard]] ClauseProof lower_units(const ClauseProof& proof, host::Limits* limits);

/// `proof` without steps on literals that are resolved again on every way to the root.
[[nodiscard]] ClauseProof recycle_pivots(const ClauseProof& proof, host::Limits* limits);

/// Both, one after the other, for at most about `seconds`: what was reached by then is the
/// answer. `limits` may be null; LimitReached is thrown when they end the work before.
[[nodiscard]] ClauseProof reduced(ClauseProof proof, double seconds, host::Limits* limits);

}  // namespace opal::resolution

#endif

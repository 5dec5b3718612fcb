#ifndef OPAL_INTERPOLATE_TRIMMING_H
#define OPAL_INTERPOLATE_TRIMMING_H

#include "opal/interfaces/proof.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// The refutation that the engine gets for all partitions of a grouping. An equality
/// sub-proof is cut down to a part that refutes and of which no partition's A or B alone
/// holds a refutation any more (see docs/proofs.md); every other proof stays as it is.
proof::ProofRef trimmed(proof::Proof& root, const Grouping& grouping, const Mapper& mapper);

}  // namespace opal::host

#endif

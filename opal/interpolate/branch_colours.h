#ifndef OPAL_INTERPOLATE_BRANCH_COLOURS_H
#define OPAL_INTERPOLATE_BRANCH_COLOURS_H

#include <vector>

#include "opal/interfaces/atom_classifier.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// Enters both atoms of each branch in the classifier, with the same colour: A's if the
/// branch's term has a symbol that is local to A, else B's (see docs/proofs.md). Throws
/// std::logic_error for a branch that has symbols local to A and to B, or a symbol of no
/// group, and for one whose atom is asserted.
void colour_branches(const std::vector<laz::LaZInternalBBProof*>& branches,
                     const Mapper& mapper, itp::TheoryAtomClassifier& classifier);

/// The side of a constraint of a proof in the partition of `root`, a branch's included,
/// which is the one that colour_branches() would enter.
Grouping::status constraint_side(int id, const Grouping& grouping, std::size_t root,
                                 const Mapper& mapper);

}  // namespace opal::host

#endif

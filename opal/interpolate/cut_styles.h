#ifndef OPAL_INTERPOLATE_CUT_STYLES_H
#define OPAL_INTERPOLATE_CUT_STYLES_H

#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// How many combinations of values of cuts the modular style goes through in the partition
/// of `root`: for each leaf of a tree of branches the product, over the cuts of both sides
/// in it, of the number of values that such a cut can take; the sum of these. 0 when no cut
/// has both sides: then both styles give the same. A number above `most` says only that
/// there are more.
QNumber cut_combinations(const std::vector<proof::Proof*>& leaves, const Grouping& grouping,
                         std::size_t root, const Mapper& mapper, const QNumber& most);

}  // namespace opal::host

#endif

#ifndef OPAL_INTERPOLATE_ONE_SIDED_H
#define OPAL_INTERPOLATE_ONE_SIDED_H

#include <optional>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interfaces/proof.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// The interpolant of two groups of which one is contradictory by itself, together with the
/// background: false when it is the first, true when it is the second, else nothing.
///
/// The first operation sees what a refutation shows that uses one group's atoms only.
std::optional<bool> one_sided_by_proof(const proof::Proof& root, const Grouping& grouping,
                                       const Mapper& mapper);
/// The second one decides each side's atoms, unless that takes many branches.
std::optional<bool> one_sided_by_deciding(const std::vector<const Term_*>& first,
                                          const std::vector<const Term_*>& second,
                                          Mapper& mapper, Limits& limits);

}  // namespace opal::host

#endif

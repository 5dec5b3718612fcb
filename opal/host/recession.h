#ifndef OPAL_HOST_RECESSION_H
#define OPAL_HOST_RECESSION_H

#include <vector>

#include "opal/host/constraint_terms.h"
#include "opal/host/limits.h"

namespace opal::host {

/// Whether convex constraints, which are satisfiable over the rationals, bound each of the
/// variables from both sides.
bool bounds_all(const ConstraintTerms& terms, const std::vector<int>& convex,
                const std::vector<int>& variables, Limits& limits);

}  // namespace opal::host

#endif

#ifndef OPAL_ARITH_INTEGER_RECESSION_H
#define OPAL_ARITH_INTEGER_RECESSION_H

#include <vector>

#include "opal/base/limits.h"
#include "opal/linear/constraint_terms.h"

namespace opal::host {

/// Whether convex constraints, which are satisfiable over the rationals, bound each of the
/// variables from both sides.
bool bounds_all(const ConstraintTerms& terms, const std::vector<int>& convex,
                const std::vector<int>& variables, Limits& limits);

}  // namespace opal::host

#endif

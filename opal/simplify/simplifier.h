#ifndef OPAL_SIMPLIFY_SIMPLIFIER_H
#define OPAL_SIMPLIFY_SIMPLIFIER_H

#include <cstddef>
#include <vector>

#include "opal/terms/terms.h"

namespace opal::host {

/// A readable formula equivalent to `formula`, over a subset of its symbols: like terms
/// merged, coprime integer coefficients with positive summands on the left where possible
/// and the constant on the right, negations pushed into the relations, duplicate and
/// subsumed conjuncts and disjuncts dropped, two opposite inequalities made an equality,
/// common parts factored out, true and false folded; congruences merged, with residues in
/// 0 .. m-1, and floor terms as small as possible. Simplifying twice changes nothing.
/// Iterative; time about linear in the formula.
///
/// Atoms that are not linear stay as they are.
const Term_* simplify(Terms& terms, const Term_* formula);

/// The number of distinct sub-terms.
std::size_t dag_size(const Term_* t);
/// The number of distinct sub-terms of all.
std::size_t dag_size(const std::vector<const Term_*>& terms);

}  // namespace opal::host

#endif

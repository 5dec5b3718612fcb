#ifndef OPAL_LINEAR_INTEGER_CONSTRAINTS_H
#define OPAL_LINEAR_INTEGER_CONSTRAINTS_H

#include <optional>

#include "opal/interfaces/equation.h"

namespace opal::host {

/// The normal form of a constraint of which all variables are integers, at least one;
/// nothing for a disequality that always holds.
///
///     2x - 4y < 5    x - 2y <= 2           6x = 4y    3x - 2y = 0
///     x >= 1/2       x >= 1                4x = 2     2x = 1
///     3x /= 6        x /= 2                3x /= 4    nothing
///
/// Inequalities keep their direction and are not strict. The coefficients are coprime
/// integers and the constant is an integer, but for an equality that no integers satisfy:
/// its coefficients and its constant are coprime integers, and the common divisor of the
/// coefficients, which is not 1, stays. It is 2 in 2x = 1.
std::optional<la::LinearTerm> integer_normal_form(la::LinearTerm term);

/// Whether a constraint is in normal form.
bool is_integer_normal(const la::LinearTerm& term);

}  // namespace opal::host

#endif

#ifndef OPAL_LINEAR_LITERALS_H
#define OPAL_LINEAR_LITERALS_H

#include <string>
#include <vector>

#include "opal/base/error.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A formula outside of what is supported; `term` is the sub-formula at fault.
class Unsupported : public Error {
 public:
  Unsupported(const std::string& what, const Term_* t) : Error(what), term(t) {}

  const Term_* const term;
};

/// The atoms whose conjunction is equivalent to `formula`: each of kind LEQ, LT, EQ, NEQ
/// over arithmetic terms, or FALSE. Negations are pushed into the atoms (not a <= b is
/// b < a), so that an atom and its negation are different terms; true conjuncts are
/// dropped, each atom is listed once, in the order of the formula. A congruence becomes an
/// equality: m divides a - b as a - b = m * floor((a - b) / m).
/// Nested and, or, not are taken apart where they reduce to a conjunction (an `or` below a
/// negation, an `or` of which all but one operand is false). Iterative.
/// Throws Unsupported for a disjunction, a Boolean variable, or another formula.
std::vector<const Term_*> conjuncts(Terms& terms, const Term_* formula);

/// The equality a - b = m * floor((a - b) / m), with the magnitude of m, which says that m
/// divides a - b.
const Term_* congruence_equality(Terms& terms, const Term_* congruence);

/// What defines the floor terms in an atom, nested ones included: for each f = floor(t) the
/// atoms `to_real f <= t` and `t < to_real f + 1`, in the order of the terms' ids. They
/// hold for every value of the variables. Iterative; constant time while there are no floor
/// terms at all.
std::vector<const Term_*> floor_definitions(Terms& terms, const Term_* atom);

/// The atom that says the opposite of an atom of these kinds.
const Term_* negated_atom(Terms& terms, const Term_* atom);

}  // namespace opal::host

#endif

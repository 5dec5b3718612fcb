#ifndef OPAL_ARITH_RATIONAL_DISEQUALITIES_H
#define OPAL_ARITH_RATIONAL_DISEQUALITIES_H

#include "opal/arith/rational/decider.h"

namespace opal::host {

// The strict halves of a disequality on top of a decider's stack.

/// The value that a decider's model gives to a sum.
DeltaNumber value_in_model(const la::Equation& sum, const Decider& decider);

/// Whether the constraints allow a half: -1 at most, +1 at least. The stack is as before.
bool half_is_possible(Decider& decider, int constr_id, int side);
/// Adds a half that the constraints allow, the at-most half first; the decider has a model
/// then. False when there is none; then the stack is as before.
bool add_half(Decider& decider, int constr_id);
/// The refutation of a half that the constraints do not allow. The stack is as before.
FarkasCombination refute_half(Decider& decider, int constr_id, int side);

}  // namespace opal::host

#endif

#include "opal/arith/rational/disequalities.h"

#include <cassert>
#include <utility>

namespace opal::host {

DeltaNumber value_in_model(const la::Equation& sum, const Decider& decider) {
  DeltaNumber result;
  for (const auto& [var, coeff] : sum.coeffs())
    result.add_product(coeff, decider.value(var));
  return result;
}

bool half_is_possible(Decider& decider, int constr_id, int side) {
  const std::size_t height = decider.size();
  decider.add(constr_id, side);
  const bool possible = !decider.check();
  decider.retract(height);
  return possible;
}

bool add_half(Decider& decider, int constr_id) {
  const std::size_t height = decider.size();
  for (const int side : {-1, 1}) {
    decider.add(constr_id, side);
    if (!decider.check()) return true;
    decider.retract(height);
  }
  return false;
}

FarkasCombination refute_half(Decider& decider, int constr_id, int side) {
  const std::size_t height = decider.size();
  decider.add(constr_id, side);
  auto combination = decider.check();
  assert(combination.has_value());
  decider.retract(height);
  return std::move(*combination);
}

}  // namespace opal::host

#ifndef OPAL_SIMPLIFY_CONGRUENCES_H
#define OPAL_SIMPLIFY_CONGRUENCES_H

#include <optional>
#include <vector>

#include "opal/base/modular_arithmetic.h"
#include "opal/linear/linear_form.h"

namespace opal::host {

/// A congruence in normal form: a truth value, or the class in which a sum lies.
struct CongruenceReading {
  std::optional<bool> truth;
  /// Without `truth`: the modulus is at least 2; the coefficients are in (-m/2, m/2], not
  /// 0, coprime, and the first one is positive. If one is coprime to the modulus, the first
  /// such one is 1 or -1, else the first one of all divides the modulus.
  std::vector<LinearForm::Summand> summands;
  ResidueClass values;

  /// These ranges; for assertions.
  [[nodiscard]] bool is_normal() const;
};

/// The normal form of: the positive integer `modulus` divides the value of `form`, whose
/// variables are integers, with an integer quotient. Coefficients may be fractions.
CongruenceReading read_congruence(LinearForm form, QNumber modulus);

}  // namespace opal::host

#endif

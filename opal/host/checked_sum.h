#ifndef OPAL_HOST_CHECKED_SUM_H
#define OPAL_HOST_CHECKED_SUM_H

#include <optional>
#include <unordered_map>

#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// constant + sum of coefficient * variable: the arithmetic of the proof checker, which
/// shares none with the solver and the mapper but QNumber. No coefficient is zero.
struct CheckedSum {
  std::unordered_map<const Term_*, QNumber> coefficients;
  QNumber constant;

  void add(const Term_* variable, const QNumber& coefficient);
  /// Adds factor * other.
  void add(const QNumber& factor, const CheckedSum& other);
  /// The first variable in the order of the terms, or null; it lets messages name one
  /// that does not depend on addresses.
  [[nodiscard]] const Term_* first_variable() const;
  /// The positive number that gives `other` when this is multiplied by it, if any.
  [[nodiscard]] std::optional<QNumber> ratio_to(const CheckedSum& other) const;
};

/// left - right of an atom of kind LEQ, LT, EQ or NEQ; FALSE says 1 <= 0. Nothing for an
/// atom that is not linear. Iterative, over the DAG.
std::optional<CheckedSum> checked_difference(const Term_* atom);

}  // namespace opal::host

#endif

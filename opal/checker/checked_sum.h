#ifndef OPAL_CHECKER_CHECKED_SUM_H
#define OPAL_CHECKER_CHECKED_SUM_H

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// constant + sum of coefficient * variable: the arithmetic of the proof checker, which
/// shares none with the solver and the mapper but QNumber. A floor term is a variable, and
/// an integer one.
///
/// Invariant (is_normal): no coefficient is zero.
struct CheckedSum {
  /// How a sum compares with zero.
  enum class Relation : std::uint8_t { AT_LEAST_ZERO, ABOVE_ZERO };

  std::unordered_map<const Term_*, QNumber> coefficients;
  QNumber constant;

  void add(const Term_* variable, const QNumber& coefficient);
  /// Adds factor * other.
  void add(const QNumber& factor, const CheckedSum& other);
  /// Multiplies by a number other than zero.
  void scale(const QNumber& factor);
  /// What `this >= 0`, or `this > 0`, says of integer variables, as `this >= 0`: the
  /// coefficients divided by content(), which must not be zero, the constant rounded.
  ///
  ///     6x - 4y + 3 >= 0   is   3x - 2y + 1 >= 0       2x - 4 > 0   is   x - 3 >= 0
  void tighten(Relation relation);

  [[nodiscard]] bool is_normal() const;

  /// The first variable in the order of the terms, or null; it lets messages name one
  /// that does not depend on addresses.
  [[nodiscard]] const Term_* first_variable() const;
  /// The first variable that is not an integer one, or null.
  [[nodiscard]] const Term_* first_real() const;
  [[nodiscard]] bool has_integer_coefficients() const;
  /// The positive number by which the coefficients are multiples of coprime integers; zero
  /// without variables.
  [[nodiscard]] QNumber content() const;
  /// The number that gives the coefficients of `other` when this is multiplied by it, if
  /// any and positive; without variables, one.
  [[nodiscard]] std::optional<QNumber> coefficient_ratio_to(const CheckedSum& other) const;
  /// The positive number that gives `other` when this is multiplied by it, if any.
  [[nodiscard]] std::optional<QNumber> ratio_to(const CheckedSum& other) const;
};

/// The sum that a term is, or nothing for one that is not linear. Iterative, over the DAG.
std::optional<CheckedSum> checked_form(const Term_* t);
/// left - right of an atom of kind LEQ, LT, EQ or NEQ; FALSE says 1 <= 0. Nothing for an
/// atom that is not linear. Iterative, over the DAG.
std::optional<CheckedSum> checked_difference(const Term_* atom);

}  // namespace opal::host

#endif

#ifndef OPAL_INTERFACES_EQUATION_H
#define OPAL_INTERFACES_EQUATION_H

// Linear constraints, as the engine sums them up and as a solver hands them out.

#include <cassert>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "opal/utils/qnumber.h"

namespace opal::la {

/// A linear constraint, read as constant + sum(coefficient * variable) >= 0. A negative
/// coefficient on the strictness variable makes it strict.
///
/// Invariant (is_normal): the pairs are strictly ascending by variable id, no coefficient
/// is zero, and a constant that is present is not zero.
class Equation {
 public:
  /// A variable id with its coefficient.
  using VarCoeff = std::pair<int, QNumber>;

  /// The coefficient of a variable that does not occur.
  static const QNumber coeff_zero;

  /// The empty constraint, 0 >= 0.
  Equation() = default;

  /// A copy on the heap, owned by the caller.
  [[nodiscard]] Equation* new_copy() const { return new Equation(*this); }

  /// Prepares for as many variables.
  void reserve(std::size_t variables) { coeffs_.reserve(variables); }
  /// Adds q * var. A coefficient that becomes zero disappears; q = 0 changes nothing.
  void add_var(const QNumber& q, int var);
  /// Adds c to the constant; a constant that becomes zero disappears.
  void add_const(const QNumber& c);
  /// Scales every coefficient and the constant by q. q = 0 leaves the empty constraint.
  void mult(const QNumber& q);

  [[nodiscard]] const std::vector<VarCoeff>& coeffs() const { return coeffs_; }
  /// The coefficient of `var`, coeff_zero when it does not occur.
  [[nodiscard]] const QNumber& coeff(int var) const;
  /// The constant, or null when there is none.
  [[nodiscard]] const QNumber* constant() const {
    return constant_ ? &*constant_ : nullptr;
  }
  [[nodiscard]] bool has_vars() const { return !coeffs_.empty(); }

  /// A text for people: "3*x1 - 1/2*x4 + 7 >= 0" with variables named by their ids; with
  /// `relation` false, the linear expression alone.
  [[nodiscard]] std::string to_str(bool relation) const;

  /// The class invariant, for assertions and tests.
  [[nodiscard]] bool is_normal() const;

 private:
  std::optional<QNumber> constant_;  // absent means zero
  std::vector<VarCoeff> coeffs_;
};

/// A constraint as the term mapper hands it out: variable part, relation, constant.
///
///     sum(coefficient * variable)  <relation>  constant
struct LinearTerm {
  enum Relation : int { LT = 0, LEQ = 1, EQ = 2, NEQ = 3, GEQ = 4, GT = 5 };

  LinearTerm() = default;
  LinearTerm(int k, Equation v, QNumber c)
      : kind(k), vars(std::move(v)), constant(std::move(c)) {
    assert(is_normal());
  }

  /// A relation, and a variable part that keeps its own invariant; for assertions.
  [[nodiscard]] bool is_normal() const {
    return kind >= LT && kind <= GT && vars.is_normal();
  }

  int kind = EQ;  // a Relation
  Equation vars;  // only its coefficients count
  QNumber constant;
};

}  // namespace opal::la

#endif

#ifndef OPAL_HOST_SIMPLIFIER_ATOMS_H
#define OPAL_HOST_SIMPLIFIER_ATOMS_H

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "opal/host/linear_form.h"
#include "opal/host/terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// A literal as a bound on the value of a form, which is known by its number.
struct BoundLiteral {
  enum class Relation { LEQ, LT, GEQ, GT, EQ, NEQ };

  std::size_t form = 0;
  Relation relation = Relation::LEQ;
  QNumber bound;
};

/// What an atom says: a truth value, or a bound.
struct AtomReading {
  std::optional<bool> truth;
  BoundLiteral literal;  // without `truth`
};

/// Reads atoms as bounds on forms, and writes such bounds as atoms in normal form.
///
/// A form is a sum of variables with coprime integer coefficients, of which the first one
/// (by the id of the variable) is positive. Atoms over one sum thereby meet in one form:
/// 2x - 4y <= 5 and 3 < 6y - 3x are x - 2y <= 5/2 and x - 2y < -1.
///
/// Every other literal (Boolean variables, congruences, non-linear atoms) is its own form,
/// with the value 1 where it is true and 0 where not; p is read as p >= 1, not p as p <= 0.
///
/// A form whose value is always an integer is integral. Bounds on it are integers and of
/// the relations LEQ, GEQ, EQ, NEQ: x < 5/2 is x <= 2.
class AtomForms {
 public:
  /// Keeps the reference.
  explicit AtomForms(Terms& terms) : terms_(terms) {}

  /// The reading of an atom, or of its negation.
  AtomReading read(const Term_* atom, bool negated);
  /// The atom of a reading. Reading it again gives the same literal.
  const Term_* write(const BoundLiteral& literal);
  [[nodiscard]] BoundLiteral negation(const BoundLiteral& literal) const;
  [[nodiscard]] bool is_integral(std::size_t form) const { return forms_[form].integral; }

 private:
  using Summands = std::vector<LinearForm::Summand>;
  struct SummandsHash {
    std::size_t operator()(const Summands& summands) const;
  };
  struct Form {
    Summands summands;
    const Term_* opaque = nullptr;  // a literal that is no linear atom; no summands then
    bool integral = false;
  };

  AtomReading read_linear(const Term_* atom, bool negated, LinearForm difference);
  AtomReading read_opaque(const Term_* atom, bool negated);
  std::size_t linear_form_number(Summands summands);
  std::size_t opaque_form_number(const Term_* literal);
  const Term_* write_opaque(const Form& form, bool negated);

  Terms& terms_;
  std::vector<Form> forms_;
  std::unordered_map<Summands, std::size_t, SummandsHash> linear_;
  std::unordered_map<const Term_*, std::size_t> opaque_;
};

}  // namespace opal::host

#endif

#ifndef OPAL_SIMPLIFY_ATOMS_H
#define OPAL_SIMPLIFY_ATOMS_H

#include <cassert>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "opal/base/modular_arithmetic.h"
#include "opal/linear/linear_form.h"
#include "opal/simplify/floors.h"
#include "opal/terms/terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// A literal as a bound on the value of a form, which is known by its number, or as a
/// residue class that its value is in, or is not in.
///
/// Invariant (is_normal): a class has a positive integer as its modulus, and its residue is
/// an integer in 0 .. modulus - 1; a bound has the modulus 0.
struct BoundLiteral {
  enum class Relation { LEQ, LT, GEQ, GT, EQ, NEQ, CONGRUENT, INCONGRUENT };

  std::size_t form = 0;
  Relation relation = Relation::LEQ;
  QNumber bound;    // of a class, its residue
  QNumber modulus;  // of a class

  [[nodiscard]] bool is_class() const {
    return relation == Relation::CONGRUENT || relation == Relation::INCONGRUENT;
  }
  [[nodiscard]] bool is_normal() const {
    return is_class() ? ResidueClass{bound, modulus}.is_normal() : modulus.is_zero();
  }
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
/// Every other literal (Boolean variables, non-linear atoms) is its own form, with the
/// value 1 where it is true and 0 where not; p is read as p >= 1, not p as p <= 0.
///
/// A form whose value is always an integer is integral. Bounds on it are integers and of
/// the relations LEQ, GEQ, EQ, NEQ: x < 5/2 is x <= 2. Congruences are normal
/// (read_congruence) and of a modulus above 2 when they are negated: x /= 0 modulo 2 is
/// x = 1 modulo 2.
///
/// Floor terms are variables (normalised by FloorForms). A bound on one alone is a bound on
/// what it is the floor of: floor(x/2) <= 3 is x <= 7. An integral form n - d*floor(n/d) +
/// c is a remainder form: it has the values c .. c + d - 1 only. A bound on it that one
/// value alone satisfies, or violates, is a congruence: x - 2*floor(x/2) >= 1 is x = 1
/// modulo 2.
class AtomForms {
 public:
  /// Keeps the reference.
  explicit AtomForms(Terms& terms) : terms_(terms), floors_(terms) {}

  /// The reading of an atom, or of its negation. The atom is no connective.
  AtomReading read(TheoryLit literal);
  /// The literal as a term, or a truth value. Reading it again gives the same literal, or,
  /// on a remainder form, one on another form.
  const Term_* write(const BoundLiteral& literal);
  [[nodiscard]] BoundLiteral negation(const BoundLiteral& literal) const;
  [[nodiscard]] bool is_integral(std::size_t form) const {
    assert(form < forms_.size());
    return forms_[form].integral;
  }

 private:
  using Summands = std::vector<LinearForm::Summand>;
  struct SummandsHash {
    std::size_t operator()(const Summands& summands) const;
  };
  // The floor term of a remainder form: sign * form = n - d*floor(n/d), less the constant
  // of n.
  struct Remainder {
    const Term_* floor;
    QNumber sign;
  };
  struct Form {
    Summands summands;
    const Term_* opaque = nullptr;  // a literal that is no linear atom; no summands then
    bool integral = false;
    std::optional<Remainder> remainder;
  };

  AtomReading read_linear(BoundLiteral::Relation relation, LinearForm difference);
  AtomReading read_modular(LinearForm difference, const QNumber& modulus, bool negated);
  AtomReading read_remainder(BoundLiteral literal);
  AtomReading canonical(const BoundLiteral& literal);
  bool take_off_floor(LinearForm& difference, BoundLiteral::Relation& relation) const;
  AtomReading read_opaque(const Term_* atom, bool negated);
  std::size_t linear_form_number(Summands summands);
  std::size_t opaque_form_number(const Term_* literal);
  [[nodiscard]] std::optional<Remainder> remainder_of(const Summands& summands) const;
  // Coprime integer coefficients, the first one positive; for assertions.
  [[nodiscard]] static bool is_form(const Summands& summands);
  const Term_* write_opaque(const Form& form, bool negated);
  const Term_* write_sides(const BoundLiteral& literal);
  const Term_* write_remainder(const BoundLiteral& literal);

  Terms& terms_;
  FloorForms floors_;
  std::vector<Form> forms_;
  std::unordered_map<Summands, std::size_t, SummandsHash> linear_;
  std::unordered_map<const Term_*, std::size_t> opaque_;
};

}  // namespace opal::host

#endif

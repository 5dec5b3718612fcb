// The atoms of formulas, as variables of a search.
//
// Atoms that say the same are one variable, whatever their spelling, and an atom and its
// negation are one variable with both signs. To that end an arithmetic atom is brought to a
// canonical one: on one side a sum with coprime integer coefficients, the first of them
// positive, on the other side a number.
//
//     over Reals     sum <= c,  c <= sum,  sum = c
//     over Ints      sum <= c,  sum = c                 with c an integer
//
//     2x <= 6, x < 4, not 3 < x    over Ints    x <= 3
//     2x >= 6, x > 2               over Ints    not x <= 2
//     2y < 1                       over Reals   not 1/2 <= y
//     2x - 4x' = 3                 over Ints    false
//
// A canonical atom has exactly the symbols whose coefficients do not cancel out. Floor
// terms count as variables; what they mean is for the clausifier to say.

#ifndef OPAL_SMT_ATOMS_H
#define OPAL_SMT_ATOMS_H

#include <functional>
#include <vector>

#include "opal/interfaces/equation.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/mapper.h"
#include "opal/sat/search.h"
#include "opal/smt/arithmetic_theory.h"
#include "opal/terms/terms.h"

namespace opal::smt {

/// What is true: a literal of no search, which no clause may have.
constexpr sat::Literal TRUE_LITERAL{resolution::VARIABLE_END};
constexpr sat::Literal FALSE_LITERAL = ~TRUE_LITERAL;

/// A canonical atom, or its negation; a truth value as the term true, negated or not.
struct CanonicalLiteral {
  const Term_* atom = nullptr;
  sat::Sign sign = sat::Sign::POSITIVE;
};

/// The canonical form of an arithmetic atom of kind LEQ, LT, EQ or NEQ. Throws
/// host::NotLinear. Time linear in the atom.
[[nodiscard]] CanonicalLiteral canonical_literal(host::Terms& terms, const Term_* atom);
/// That of the constraint `form relation 0`; the relation is one of la::LinearTerm.
[[nodiscard]] CanonicalLiteral canonical_literal(host::Terms& terms, host::LinearForm form,
                                                 int relation);

/// Called when an arithmetic atom is made: `variable` stands for the constraint `positive`
/// of the mapper, its negation for the constraint `negative`.
using AtomObserver =
    std::function<void(sat::Variable variable, int positive, int negative)>;

class Atoms final : public BoundAtoms {
 public:
  /// Keeps references to all of them.
  Atoms(host::Terms& terms, host::Mapper& mapper, sat::Search& search,
        AtomObserver observer);

  /// The literal of an arithmetic atom (LEQ, LT, EQ, NEQ) or a Boolean variable, made at
  /// first sight; TRUE_LITERAL or FALSE_LITERAL for an atom that does not depend on its
  /// variables. Constant time but for the first sight of an atom.
  [[nodiscard]] sat::Literal literal(const Term_* atom);
  /// The literal of a constraint that the theory asks for in the middle of a search.
  [[nodiscard]] sat::Literal literal(const la::LinearTerm& constraint,
                                     sat::Consequences& consequences) override;
  /// What `variable` stands for, as a formula; null when it was not made here.
  [[nodiscard]] const Term_* atom(sat::Variable variable) const {
    return variable < atoms_.size() ? atoms_[variable] : nullptr;
  }
  /// The literal of an atom that literal() has seen; else an invalid literal.
  [[nodiscard]] sat::Literal known_literal(const Term_* atom) const {
    return atom->id() < literals_.size() ? literals_[atom->id()] : sat::Literal();
  }
  /// The number of arithmetic atoms.
  [[nodiscard]] std::size_t arithmetic_count() const { return arithmetic_count_; }

 private:
  using VariableMaker = std::function<sat::Variable(sat::VariableKind)>;

  sat::Literal canonical_variable(const CanonicalLiteral& canonical,
                                  const VariableMaker& make_variable);
  void remember(const Term_* atom, sat::Literal literal);

  host::Terms& terms_;
  host::Mapper& mapper_;
  sat::Search& search_;
  AtomObserver observer_;
  std::vector<sat::Literal> literals_;  // by the id of a term; invalid: not seen
  std::vector<const Term_*> atoms_;     // by variable; null: not made here
  std::size_t arithmetic_count_ = 0;
};

}  // namespace opal::smt

#endif

#ifndef OPAL_LINEAR_MAPPER_H
#define OPAL_LINEAR_MAPPER_H

#include <cstddef>
#include <memory>

#include "opal/base/limits.h"
#include "opal/interfaces/term_mapper.h"
#include "opal/linear/constraint_terms.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The term mapper of the reference host. Ids are handed out in the order of first sight
/// and are never taken back: the strictness variable is 1, problem variables follow; the
/// zero constraint is -1, other constraints are numbered from 1.
///
/// Every constraint's literal is positive, but for those of exact_constraint(): an atom of
/// kind LEQ, LT, EQ, NEQ or FALSE (see literals.h). The flip of a literal is mapped to the
/// constraint of the opposite atom.
///
/// A variable is a variable term, or a floor term, which is a variable of sort Int here.
/// The shared term of a split equality has a variable too, which is in no constraint of
/// this mapper: where such a term occurs in an atom, it counts as the sum that it is.
/// A constraint of which all variables are Ints is normalised: its coefficients are coprime
/// integers, its constant is an integer, and no inequality is strict:
///
///     2x - 4y < 5   is   x - 2y <= 2          3x + 6y /= 4   always holds
///     6x = 4y       is   3x - 2y = 0          2x = 4y + 1    stays as it is
///
/// An equality whose constant the common divisor of its coefficients does not divide has
/// integer coefficients and an integer constant, but keeps the divisor: it is a
/// contradiction that an equality sub-proof can state.
class Mapper final : public la::ItpLinearTermMapper, public ConstraintTerms {
 public:
  static constexpr int DELTA_VAR = 1;
  static constexpr int ZERO_CONSTRAINT = -1;

  /// Keeps references to both. The engine's calls into the mapper poll the limits, which
  /// is how a time limit ends an interpolation: LimitReached passes through the engine.
  Mapper(Terms& terms, Limits& limits);
  ~Mapper() override;

  // --- for the solver; constant time but for the first sight of an atom
  /// The id of an atom's constraint (made at first sight): for an atom `a rel b` the
  /// variables of a - b stand on the left and its constant on the right; FALSE is 0 <= -1.
  /// The true term, the opposite of FALSE, has the zero constraint, and so has a
  /// disequality between integers that always holds. Throws NotLinear, and
  /// std::invalid_argument for a term of another kind.
  int constraint(const Term_* atom);
  /// The constraint of an id in 1..num_constraints().
  [[nodiscard]] const la::LinearTerm& constraint_term(int constr_id) const override;
  /// The atom of its literal.
  [[nodiscard]] const Term_* constraint_atom(int constr_id) const;
  /// The id of a variable term or a floor term (made at first sight).
  int variable(const Term_* var);
  /// Variables have the ids 2 .. num_variables() + 1.
  [[nodiscard]] int num_variables() const;
  /// Branches are counted too.
  [[nodiscard]] int num_constraints() const;
  [[nodiscard]] bool is_integer(int var) const;

  // --- for proofs over integers
  /// The id of a branch's constraint, `t <= c` or `t >= c` with integer coefficients and
  /// Int variables: never the id of an atom that is asserted, and always the same one for
  /// the same constraint. Its atom is built as the engine builds it, with the term-building
  /// flag set.
  int branch_constraint(const la::LinearTerm& branch);
  [[nodiscard]] bool is_branch(int constr_id) const;
  /// A variable for a cut: a new one with a new term in each call.
  int cut_variable();

  // --- for equalities that are split
  /// The id of an equality's constraint, or of the disequality that denies it, whose linear
  /// term is left - right, exactly, whatever the sorts. Always the same id for the same
  /// literal, and never that of constraint().
  int exact_constraint(TheoryLit equality);

  // --- for the engine; see ItpLinearTermMapper
  /// Throws std::out_of_range for an id that was never handed out.
  la::LinearTerm linear_term(int constr_id) override;
  la::LinearTerm bb_linear_term(TheoryLit lit, int constr_id) override;
  int lit_constraint(TheoryLit lit) override;
  TheoryLit constraint_lit(int constr_id) override;
  const Term_* var_term(int var) override;
  int term_var(const Term_* term, bool make) override;
  int atom_constraint(const Term_* atom) override;
  /// The variable of an arithmetic term, made at first sight: a variable's or floor term's
  /// own, for any other term one of which it is the var_term.
  int term_def_var(const Term_* term) override;
  int delta_var() override { return DELTA_VAR; }
  int zero_constraint() override { return ZERO_CONSTRAINT; }

 private:
  /// The constraint of an atom as it stands.
  la::LinearTerm unnormalised(const Term_* atom);

  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace opal::host

#endif

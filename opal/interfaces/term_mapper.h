#ifndef OPAL_INTERFACES_TERM_MAPPER_H
#define OPAL_INTERFACES_TERM_MAPPER_H

// What stands behind the ids of a solver's constraints and variables.

#include "opal/interfaces/equation.h"
#include "opal/interfaces/term.h"

namespace opal::la {

/// Translates the ids that a linear-arithmetic solver uses for constraints and variables
/// into literals, linear terms and terms, and back.
///
/// Variable ids are never 0: 0 answers "no variable". A null literal answers "no literal".
/// Every variable that can stand in a proof has a term.
class ItpLinearTermMapper {
 public:
  ItpLinearTermMapper() = default;
  ItpLinearTermMapper(const ItpLinearTermMapper&) = delete;
  ItpLinearTermMapper& operator=(const ItpLinearTermMapper&) = delete;
  virtual ~ItpLinearTermMapper() = default;

  /// The constraint with an id. Integer constraints come normalised: non-strict, coprime
  /// integer coefficients, an integer constant rounded in the sound direction.
  virtual LinearTerm linear_term(int constr_id) = 0;
  /// The same for the literal of a branch, with the same relation as linear_term.
  virtual LinearTerm bb_linear_term(TheoryLit lit, int constr_id) = 0;
  /// The id of a literal's constraint; there is one for the negation of every literal
  /// that can be implied. Never 0 or the id of the zero constraint for such literals.
  virtual int lit_constraint(TheoryLit lit) = 0;
  /// The literal of a constraint, null when the id is not mapped.
  virtual TheoryLit constraint_lit(int constr_id) = 0;
  /// The term of a variable, null when it has none.
  virtual const Term_* var_term(int var) = 0;
  /// The variable of a term; 0 when there is none, unless `make` asks for one to be made.
  virtual int term_var(const Term_* term, bool make) = 0;
  /// The id of the constraint that an equality atom states. An id is made for an atom
  /// that nobody has seen, and linear_term and constraint_lit answer for it afterwards.
  virtual int atom_constraint(const Term_* atom) = 0;
  /// The variable defined as equal to a term: a `floor` term or a compound shared term.
  virtual int term_def_var(const Term_* term) = 0;
  /// The strictness variable: a negative coefficient on it makes a constraint strict.
  virtual int delta_var() = 0;
  /// The id of the trivial constraint 0 >= 0.
  virtual int zero_constraint() = 0;
};

}  // namespace opal::la

#endif

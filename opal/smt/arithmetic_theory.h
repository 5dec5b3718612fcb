#ifndef OPAL_SMT_ARITHMETIC_THEORY_H
#define OPAL_SMT_ARITHMETIC_THEORY_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "opal/base/limits.h"
#include "opal/linear/mapper.h"
#include "opal/sat/theory.h"
#include "opal/utils/qnumber.h"

namespace opal::smt {

/// Who knows which literal says a constraint.
class BoundAtoms {
 public:
  virtual ~BoundAtoms() = default;

  /// The literal that says `constraint`: of an atom that there is, or of a new one, which
  /// is made a variable by `consequences` and given to ArithmeticTheory::add_atom() before
  /// this returns. The constraint has a form that the theory knows, with any factor, and
  /// one of the relations LT, LEQ, GEQ, GT; over integers it may be said by an equivalent
  /// one. Called in propagate() and final_check() only.
  virtual sat::Literal literal(const la::LinearTerm& constraint,
                               sat::Consequences& consequences) = 0;
};

/// Linear arithmetic over reals and integers, under the search.
///
/// An atom is a variable of the search; each of its two literals says a constraint of the
/// mapper:
///
///     x + y <= 3          and when it is false     x + y > 3
///     x + y = 3                                    x + y /= 3
///
/// A constraint is a bound on its form, x + y here. Bounds are kept per form, so that
/// x + y <= 3 implies x + y <= 5 at once, and those of all forms together are decided by
/// the simplex. Integers and disequalities wait for final_check().
///
/// Every clause that is given, be it a conflict, an explanation or a lemma, is refuted by
/// la::Solver: the constraints of its negated literals contradict each other.
class ArithmeticTheory final : public sat::Theory {
 public:
  struct Statistics {
    std::uint64_t checks = 0;              // of all bounds together
    std::uint64_t pivots = 0;              // of the tableau
    std::uint64_t rows = 0;                // of the tableau now
    std::uint64_t bound_conflicts = 0;     // between two bounds of one form
    std::uint64_t row_conflicts = 0;       // between bounds of several forms
    std::uint64_t unate_propagations = 0;  // of literals, by another bound of the form
    std::uint64_t row_propagations = 0;    // of literals, by bounds of other forms
    std::uint64_t explanations = 0;
    std::uint64_t disequality_splits = 0;  // lemmas
    std::uint64_t branches = 0;            // atoms that split the values of an integer
    std::uint64_t integer_checks = 0;      // by the solver of conjunctions
    std::uint64_t integer_conflicts = 0;   // which it found
  };

  /// The tag of every clause that is given.
  static constexpr sat::Tag TAG = 0;

  /// Keeps references to all three.
  ArithmeticTheory(host::Mapper& mapper, host::Limits& limits, BoundAtoms& atoms);
  ~ArithmeticTheory() override;
  ArithmeticTheory(const ArithmeticTheory&) = delete;
  ArithmeticTheory& operator=(const ArithmeticTheory&) = delete;

  /// Makes `variable` an atom, at any time but once only. Its literals say the constraints
  /// of these ids, of which the second denies the first: an inequality and the opposite
  /// one, or an equality and the disequality. Over integers no inequality is strict. Either
  /// may be without variables, or Mapper::ZERO_CONSTRAINT.
  void add_atom(sat::Variable variable, int positive_constraint, int negative_constraint);

  void push_level() override;
  void backtrack(std::uint32_t level) override;
  void assert_literal(sat::Literal literal) override;
  void propagate(sat::Consequences& consequences) override;
  [[nodiscard]] sat::FinalCheck final_check(sat::Consequences& consequences) override;
  [[nodiscard]] sat::Tag explain(sat::Literal literal,
                                 std::vector<sat::Literal>& clause) override;
  [[nodiscard]] std::string reason_unknown() const override;

  /// After final_check() answered CONSISTENT, until it is called again: the value of one of
  /// the mapper's variables in the model; 0 for a variable that no asserted atom has. The
  /// model satisfies every literal that was asserted then.
  [[nodiscard]] QNumber value(int mapper_variable) const;

  [[nodiscard]] const Statistics& statistics() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace opal::smt

#endif

// Formulas under guards, and the search that decides them.
//
// A guard is a literal that the clauses of a formula hold under: they count while the guard
// is assumed, and go for good when it is released.
//
//     GuardedSolver solver(terms, mapper, limits, sat::Recording::ON);
//     const sat::Literal guard = solver.make_guard();
//     solver.add(formula, 7, guard);              // clauses {~guard, ...}, tag 7
//     solver.search().solve({guard});
//     solver.release(guard);
//
// The search, its theory and the atoms belong together and live here; levels, assumptions
// and cores are made of guards above (formula_solver.h).

#ifndef OPAL_SMT_GUARDED_SOLVER_H
#define OPAL_SMT_GUARDED_SOLVER_H

#include <vector>

#include "opal/base/limits.h"
#include "opal/smt/arithmetic_theory.h"
#include "opal/smt/atoms.h"
#include "opal/smt/clausifier.h"

namespace opal::smt {

class GuardedSolver {
 public:
  /// Keeps references to the first three.
  GuardedSolver(host::Terms& terms, host::Mapper& mapper, host::Limits& limits,
                sat::Recording recording);
  GuardedSolver(const GuardedSolver&) = delete;
  GuardedSolver& operator=(const GuardedSolver&) = delete;

  /// A new guard.
  [[nodiscard]] sat::Literal make_guard();
  [[nodiscard]] bool is_guard(sat::Variable variable) const {
    return variable < is_guard_.size() && is_guard_[variable];
  }
  /// Adds the clauses of a formula, under `guard` unless that is invalid. Throws what
  /// Clausifier::clauses() throws, and then has added nothing; but when this object is
  /// broken afterwards, memory ran out between two clauses: it must not be used any more.
  void add(const Term_* formula, sat::Tag assertion, sat::Literal guard);
  [[nodiscard]] bool is_broken() const { return broken_; }
  /// Takes back what holds under `guard`, and the definitions but for the first ones.
  void release(sat::Literal guard, std::size_t definitions);

  [[nodiscard]] sat::Search& search() { return search_; }
  [[nodiscard]] const sat::Search& search() const { return search_; }
  [[nodiscard]] const Atoms& atoms() const { return atoms_; }
  [[nodiscard]] const ArithmeticTheory& theory() const { return theory_; }
  [[nodiscard]] Clausifier& clausifier() { return clausifier_; }
  [[nodiscard]] const Clausifier& clausifier() const { return clausifier_; }

  /// What a variable of the search stands for; nothing for guards.
  [[nodiscard]] resolution::Meaning meaning(sat::Variable variable) const;

 private:
  sat::Search search_;
  Atoms atoms_;
  ArithmeticTheory theory_;
  Clausifier clausifier_;
  std::vector<bool> is_guard_;  // by variable
  bool broken_ = false;
};

}  // namespace opal::smt

#endif

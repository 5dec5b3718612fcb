// Decides formulas: connectives over linear constraints and Boolean variables.
//
//     FormulaSolver solver(terms, mapper, limits);
//     solver.assert_formula(x <= 0 or y <= 0, 0);
//     solver.assert_formula(1 <= x, 1);
//     solver.check({1 <= y, z}, 2)  == Verdict::UNSAT
//     solver.core()                 == {0, 1, 2}      // the assumption z, 3, is not needed
//     solver.check({}, 2)           == Verdict::SAT
//     solver.value(x)
//
// Each assertion becomes clauses of its own (clausifier.h) over atoms that all share
// (atoms.h); a search for a model of the clauses (opal/sat) has the theory of arithmetic
// under it.
//
// Levels and assumptions. The clauses of an assertion above level 0 hold under a literal of
// their level, those of an assumption under one of its own, which the search is told to
// assume; an assumption that is a literal is assumed itself. What was learned stays as far
// as it does not depend on what has gone. Literals of levels and assumptions show in no
// refutation: they count as true.

#ifndef OPAL_SMT_FORMULA_SOLVER_H
#define OPAL_SMT_FORMULA_SOLVER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "opal/base/limits.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/sat/search.h"
#include "opal/terms/terms.h"

namespace opal::smt {

class FormulaSolver {
 public:
  enum class Verdict : std::uint8_t { SAT, UNSAT, UNKNOWN };

  /// Work done since construction.
  struct Statistics {
    sat::Statistics search;
    std::uint64_t clauses = 0;      // at the moment, learned ones included
    std::uint64_t variables = 0;    // of the search
    std::uint64_t atoms = 0;        // arithmetic ones among them
    std::uint64_t proof_bytes = 0;  // held by proofs of clauses
  };

  /// Keeps references to all three. With recording OFF there are no refutations, only
  /// verdicts and models.
  FormulaSolver(host::Terms& terms, host::Mapper& mapper, host::Limits& limits,
                sat::Recording recording = sat::Recording::ON);
  ~FormulaSolver();
  FormulaSolver(const FormulaSolver&) = delete;
  FormulaSolver& operator=(const FormulaSolver&) = delete;

  void push();
  /// Takes back what was asserted since the matching push(). There must be one.
  void pop();
  /// Adds a formula; `assertion` is the tag of its clauses, a number that no other
  /// assertion has. Throws host::Unsupported, host::NotLinear, host::LimitReached,
  /// std::bad_alloc; then nothing has been added.
  void assert_formula(const Term_* formula, std::uint32_t assertion);

  /// Decides the assertions together with the assumptions, which are any formulas;
  /// assumption i counts as assertion first_assumption + i. A limit makes the verdict
  /// UNKNOWN. Throws as assert_formula() does, for an assumption; then nothing has changed.
  Verdict check(const std::vector<const Term_*>& assumptions = {},
                std::uint32_t first_assumption = 0);

  // ---- Queries of the last check, until the next call of one of the above

  /// After UNKNOWN: "timeout" and the like, or what could not be decided.
  [[nodiscard]] const std::string& reason_unknown() const;
  /// After SAT: the value of a variable in a model; of a Bool 1 or 0. A variable that
  /// nothing depends on has the value 0.
  [[nodiscard]] QNumber value(const Term_* variable) const;
  /// After UNSAT, with recording ON: a proof of the empty clause. Its leaves are clauses of
  /// assertions and assumptions, by their numbers, and lemmas of arithmetic. It is reduced
  /// for at most about `seconds`, once: later calls give the same. Throws
  /// host::LimitReached, after which it can be asked for again.
  [[nodiscard]] const resolution::ClauseRefutation& refutation(double seconds = 1.0);
  /// After UNSAT: the numbers of the assertions and assumptions that the refutation uses,
  /// ascending. Throws as refutation() does.
  [[nodiscard]] std::vector<std::uint32_t> core();

  [[nodiscard]] Statistics statistics() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

/// A formula with its number.
struct NumberedFormula {
  const Term_* formula = nullptr;
  std::uint32_t number = 0;
};

/// How much work the search for a small core may be.
struct CoreEffort {
  double seconds = 1.0;
};

/// Of assertions that contradict each other, some that still do, by their numbers,
/// ascending: each assertion is left out in turn and stays out when the others contradict
/// each other without it. When that is done within the effort, no assertion of the answer
/// can be left out. Throws host::LimitReached when `limits` end the work, not for the
/// effort.
[[nodiscard]] std::vector<std::uint32_t> minimised_core(
    host::Terms& terms, host::Mapper& mapper, host::Limits& limits,
    const std::vector<NumberedFormula>& assertions, CoreEffort effort = {});

}  // namespace opal::smt

#endif

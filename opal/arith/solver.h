#ifndef OPAL_ARITH_SOLVER_H
#define OPAL_ARITH_SOLVER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interfaces/proof.h"
#include "opal/linear/mapper.h"
#include "opal/utils/qnumber.h"

namespace opal::la {

/// Decides conjunctions of linear constraints over rationals and integers, exactly, and
/// refutes the contradictory ones by proofs. Constraints are named by the mapper's ids.
/// Problems of differences only (x - y, x, -x against a constant) go to negative-cycle
/// detection, others to the general simplex; where these leave an integer variable with a
/// fraction, equalities are solved over the integers, and the rest by branch and cut.
///
///     Solver solver(mapper, limits);
///     solver.assert_constraint(mapper.constraint(atom));
///     if (solver.check() == Solver::Verdict::UNSAT) use(solver.refutation());
class Solver {
 public:
  /// UNKNOWN is for problems with unbounded integers, and for a limit on branches.
  enum class Verdict : std::uint8_t { SAT, UNSAT, UNKNOWN };
  /// AUTO takes what fits the problem; SIMPLEX takes the simplex for all problems; EXACT
  /// takes the simplex without its shortcut through floating point. All answers are exact.
  enum class Method : std::uint8_t { AUTO, SIMPLEX, EXACT };

  /// Work done since construction.
  struct Statistics {
    std::uint64_t checks = 0;
    std::uint64_t pivots = 0;
    std::uint64_t relaxations = 0;  // of difference edges
    std::uint64_t rows = 0;         // of the tableau at the last check
    std::uint64_t nodes = 0;        // of trees of branches
    std::uint64_t cuts = 0;         // that were added, whether a proof uses them or not
    bool differences = false;       // whether the last check was of differences only
  };

  /// Keeps references to both.
  Solver(host::Mapper& mapper, host::Limits& limits);
  ~Solver();

  /// From the next check on.
  void set_method(Method method);
  /// The most nodes that a tree of branches may have in a check; 0 for no limit.
  void set_branch_limit(std::size_t nodes);

  void push();
  /// Takes back what was asserted since the matching push(). There must be one.
  void pop();
  /// Adds the constraint of an id that the mapper gave; the zero constraint adds nothing.
  /// Asserting one twice is allowed. When memory runs out, nothing is added.
  void assert_constraint(int constr_id);
  /// Adds all of them, or none when memory runs out.
  void assert_constraints(const std::vector<int>& ids);

  /// Decides what is asserted. Throws host::LimitReached at a limit, after which the
  /// solver can go on.
  Verdict check();

  /// After UNSAT, until the next call that changes or checks: the refutation. Its leaves
  /// are asserted constraints.
  [[nodiscard]] proof::ProofRef refutation() const;
  /// After SAT, until the next call that changes or checks: the value of a variable in a
  /// model; 0 for a variable that no asserted constraint has.
  [[nodiscard]] QNumber value(int var) const;

  [[nodiscard]] const Statistics& statistics() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace opal::la

#endif

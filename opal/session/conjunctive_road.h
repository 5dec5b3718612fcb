#ifndef OPAL_SESSION_CONJUNCTIVE_ROAD_H
#define OPAL_SESSION_CONJUNCTIVE_ROAD_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/base/limits.h"
#include "opal/interfaces/proof.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/queries.h"
#include "opal/session/resolved_query.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A formula with the atoms whose conjunction it is (see literals.h), those that define its
/// floor terms included.
struct Conjunction {
  const Term_* formula = nullptr;
  std::vector<const Term_*> atoms;
};

/// The groups of a query with the atoms that are asserted in each.
struct GroupedAtoms {
  std::shared_ptr<const Grouping> grouping;
  /// The atoms of each group, those of the background included; only of two groups.
  std::vector<std::vector<const Term_*>> atoms;
};

/// The strategy for conjunctions: every assertion is taken apart into atoms, which the
/// solver of conjunctions decides and refutes in one proof.
///
/// It has taken in the first assertions of the stack, up to the first one that is no
/// conjunction: with that one the other road has to be taken (formula_road.h), until it is
/// popped. push() and pop() follow the stack's.
class ConjunctiveRoad {
 public:
  /// Keeps references to all.
  ConjunctiveRoad(Terms& terms, Mapper& mapper, Limits& limits);

  void push();
  void pop();
  /// Takes everything back.
  void clear();

  /// Takes in what is on the stack and is not here yet, at the present level, as long as it
  /// is a conjunction; whether that is everything. Throws LimitReached.
  bool catch_up(const AssertionStack& stack);
  /// Takes in one more assertion, when all below it are here; false for a formula that is
  /// no conjunction of linear literals. Then, and when a limit or memory ends the work by
  /// an exception, nothing has changed.
  bool add(const Term_* formula);
  /// Takes back at least what is above the first `size` assertions, all of the present
  /// level. Cannot fail.
  void shrink(std::size_t size);
  /// The number of assertions that are here.
  [[nodiscard]] std::size_t size() const { return parts_.size(); }

  /// A formula taken apart, or nothing for one that is no conjunction of linear literals.
  [[nodiscard]] std::optional<Conjunction> take_apart(const Term_* formula);
  /// Decides what is here together with assumptions. After SAT the model is in solver(),
  /// until the next change or check.
  la::Solver::Verdict check(std::vector<Conjunction> assumptions);

  // --- after UNSAT, until the next change or check
  [[nodiscard]] proof::Proof* proof() const { return proof_.get(); }
  /// Positions of the assertions that the proof uses (assumptions count behind them),
  /// ascending; of two that provide the same constraint one is enough, one of `preferred`
  /// (by position) first, an assumption last.
  [[nodiscard]] std::vector<std::size_t> core(const std::vector<bool>& preferred) const;
  /// Every atom that is asserted or assumed.
  [[nodiscard]] std::vector<const Term_*> atoms() const;
  /// The asserted atoms of a proof's leaves.
  [[nodiscard]] std::unordered_set<const Term_*> used_atoms(const proof::Proof& root) const;
  /// The names of the assertions that provide atoms: of several assertions of an atom the
  /// first one in the atom's place. Atoms of unnamed ones are left out.
  [[nodiscard]] std::unordered_map<const Term_*, std::string> names_of(
      const AssertionStack& stack, const ResolvedQuery& query, const Grouping& grouping,
      std::unordered_set<const Term_*> atoms) const;

  /// The atoms of a query's groups. Throws LimitReached.
  [[nodiscard]] GroupedAtoms grouped(const ResolvedQuery& query) const;
  /// The interpolants of a query. Throws as Interpolation::interpolants().
  Interpolants interpolants(const ResolvedQuery& resolved, const InterpolationQuery& query);
  /// What the checker finds wrong with the proof, or nothing.
  [[nodiscard]] std::optional<std::string> fault() const;
  /// The same, the promises for the partitions of a query included.
  [[nodiscard]] std::optional<std::string> fault(const ResolvedQuery& query) const;

  [[nodiscard]] la::Solver& solver() { return solver_; }
  [[nodiscard]] const la::Solver& solver() const { return solver_; }
  [[nodiscard]] Interpolation& interpolation() { return interpolation_; }
  [[nodiscard]] const Interpolation& interpolation() const { return interpolation_; }
  /// Ends the last answer.
  void forget_answer();

 private:
  [[nodiscard]] Conjunction conjunction_of(const Term_* formula);
  void assert_atoms(const Conjunction& conjunction);
  void make_levels();
  void drop_level();
  [[nodiscard]] const Conjunction& part(std::size_t position) const;

  Terms& terms_;
  Mapper& mapper_;
  Limits& limits_;
  la::Solver solver_;
  Interpolation interpolation_;
  std::vector<Conjunction> parts_;   // the first assertions of the stack
  std::vector<std::size_t> levels_;  // the size of parts_ at each push()
  std::size_t solver_levels_ = 0;    // that the solver has: at most one more than levels_
  // The position of an assertion that is known to be no conjunction, while it is there.
  std::optional<std::size_t> no_conjunction_;
  std::vector<Conjunction> assumptions_;  // of the last check
  // Whether the solver has a level for them: it stays as long as the answer, whose model is
  // read from the solver.
  bool has_assumption_level_ = false;
  proof::ProofRef proof_;  // after UNSAT
};

}  // namespace opal::host

#endif

#ifndef OPAL_SESSION_FORMULA_ROAD_H
#define OPAL_SESSION_FORMULA_ROAD_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/labelled/formula_interpolation.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/exported_proof.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/queries.h"
#include "opal/session/resolved_query.h"
#include "opal/smt/formula_solver.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The strategy for formulas of any Boolean structure: clauses, a search for a model of
/// them with arithmetic under it, and interpolants of resolution proofs.
///
/// The solver is made when it is first needed, with all that is on the stack; from then on
/// it follows the stack.
class FormulaRoad {
 public:
  /// Keeps references to all.
  FormulaRoad(Terms& terms, Mapper& mapper, Limits& limits);

  /// Makes the solver if there is none, with all levels and assertions of the stack. Throws
  /// as add(); then there is none.
  void enter(const AssertionStack& stack);
  [[nodiscard]] bool is_entered() const { return solver_ != nullptr; }

  // --- once entered
  void push();
  void pop();
  /// Asserts a formula, whose position on the stack will be `position`. Throws Unsupported,
  /// NotLinear, LimitReached, std::bad_alloc; then nothing has changed.
  void add(const Term_* formula, std::size_t position);
  /// Decides what is asserted together with assumptions, which count as assertions behind
  /// the `asserted` ones of the stack. Throws as add().
  smt::FormulaSolver::Verdict check(const std::vector<const Term_*>& assumptions,
                                    std::size_t asserted);
  [[nodiscard]] smt::FormulaSolver& solver() { return *solver_; }
  [[nodiscard]] const smt::FormulaSolver& solver() const { return *solver_; }

  /// Goes back to where there is no solver.
  void leave() { solver_.reset(); }

  // --- after UNSAT, until the next change or check
  /// Positions of assertions and assumptions that contradict each other, ascending: those
  /// of the refutation, less what can be left out with small effort.
  [[nodiscard]] std::vector<std::size_t> core(const std::vector<const Term_*>& formulas);
  /// The interpolants of a query. Throws as FormulaInterpolation::interpolants().
  Interpolants interpolants(const ResolvedQuery& resolved, const InterpolationQuery& query);
  [[nodiscard]] const resolution::ClauseRefutation& refutation() {
    return solver_->refutation();
  }
  /// Where the refutation's variables lie for a query.
  [[nodiscard]] AtomPlaces places(const ResolvedQuery& resolved);
  /// The refutation in the form that other programs read, kept by `nodes`; null when it has
  /// none. Throws NotInterpolated for a lemma without a proof, LimitReached.
  const ExternalProof* exported(ExternalProofs& nodes);
  /// What the checkers find wrong with the refutation, the promises for the partitions of
  /// a query included, or nothing.
  [[nodiscard]] std::optional<std::string> fault(const ResolvedQuery& query);

 private:
  Terms& terms_;
  Mapper& mapper_;
  Limits& limits_;
  std::unique_ptr<smt::FormulaSolver> solver_;
  FormulaInterpolation interpolation_;
};

}  // namespace opal::host

#endif

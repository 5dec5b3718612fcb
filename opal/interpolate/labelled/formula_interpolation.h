#ifndef OPAL_INTERPOLATE_LABELLED_FORMULA_INTERPOLATION_H
#define OPAL_INTERPOLATE_LABELLED_FORMULA_INTERPOLATION_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/labelled/atom_places.h"
#include "opal/interpolate/strength.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// What is asked of a refutation of formulas.
struct FormulaTask {
  /// The tree of groups, as in Grouping.
  std::vector<std::size_t> first;
  /// By the number of an assertion or assumption: its group, or Grouping::BACKGROUND.
  std::vector<std::size_t> group_of;
  /// By the same numbers: the formula; null for a number that nothing has.
  std::vector<const Term_*> formulas;
  Mode mode = Mode::AUTO;
  Cuts cuts = Cuts::AUTO;
  Strength strength = Strength::AUTO;
  bool raw = false;  // leaves terms as built
};

/// A refutation from which the interpolants that were asked for cannot be read: an atom of
/// the theory's mixes symbols that are local to two sides.
class NotInterpolated : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Interpolants of refutations of formulas. Lemmas of arithmetic are refuted again, by the
/// solver of conjunctions, and the engine says what they contribute.
///
///     FormulaInterpolation interpolation(terms, mapper, limits);
///     FormulaTask task{Grouping::sequence(2), {0, 0, 1}, {f, g, h}};
///     interpolation.interpolants(refutation, task).terms[0]    // of f, g against h
class FormulaInterpolation {
 public:
  /// Keeps references to all.
  FormulaInterpolation(Terms& terms, Mapper& mapper, Limits& limits);
  ~FormulaInterpolation();

  /// The interpolants of all partitions, of one strength (so that they fit together). No
  /// interpolant has an auxiliary, a defined constant or a symbol that is not shared. What
  /// the background has counts for the root.
  ///
  /// MODE and CUTS say how the engine reads lemmas, see Interpolation; AUTO decides for
  /// each lemma. The answer's mode is AUTO when lemmas differ, and its cuts likewise; for a
  /// refutation without lemmas that need the engine they are SUM and MODULAR.
  ///
  /// Throws UnfitStyle for WEAK and for DUAL on a tree that is no sequence, and for MODULAR
  /// with more than two groups and a lemma whose proof has cuts; NotInterpolated;
  /// opal::Exception for an impossible proof, LimitReached at a limit.
  Interpolants interpolants(const resolution::ClauseRefutation& refutation,
                            const FormulaTask& task);

  /// Where the variables of a refutation lie for a task, in the order of its groups.
  [[nodiscard]] static AtomPlaces places(const resolution::ClauseRefutation& refutation,
                                         const FormulaTask& task);

  /// Has the checkers look at a refutation and at the places that its atoms have for the
  /// task: what is wrong, or nothing.
  [[nodiscard]] std::optional<std::string> fault(
      const resolution::ClauseRefutation& refutation, const FormulaTask& task);

 private:
  Terms& terms_;
  Mapper& mapper_;
  Limits& limits_;
  la::Solver solver_;  // which the engine is told of
  Interpolation lemmas_;
};

}  // namespace opal::host

#endif

#ifndef OPAL_EXPLAIN_PARTIAL_INTERPOLANTS_H
#define OPAL_EXPLAIN_PARTIAL_INTERPOLANTS_H

#include <cstddef>
#include <memory>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/explain/derived_constraints.h"
#include "opal/explain/proof_drawing.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/exported_proof.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// What a query's interpolants were read off: its proof, exported, and for each partition
/// how the interpolant grew. Interpolators of its own do the work, so that none of those
/// that answer queries is touched.
class PartialInterpolants {
 public:
  /// Proofs with more steps are not annotated: each step is interpolated by itself, which
  /// takes time quadratic in the size of the proof.
  static constexpr std::size_t MOST_STEPS = 300;

  /// Keeps references to all but the proof, which it trims for the grouping. Throws
  /// LimitReached at a limit, here and below.
  PartialInterpolants(Terms& terms, la::Solver& solver, Mapper& mapper, proof::Proof& proof,
                      std::shared_ptr<const Grouping> grouping);

  [[nodiscard]] const ExternalProof& proof() const { return *exported_; }

  /// The notes of a partition, that of the group `root`, for the interpolants that were
  /// answered. A partial interpolant is what the engine makes of a sub-proof in the mode
  /// and style of the answer. Where C is what the sub-proof derives,
  ///
  ///     in sum and conj mode     A implies it, and it implies C together with B;
  ///     in dual mode             A implies it or C, and it contradicts B;
  ///
  /// simplified unless `raw`. It is left out where the engine has none. There are none
  /// when the answer was not read off the proof, or the proof is too large; a remark says
  /// so.
  ProofNotes notes(std::size_t root, const Interpolants& answer, bool raw);

 private:
  void colour(const itp::TheoryAtomClassifier& classifier, ProofNotes& notes) const;
  const Term_* interpolant(la::Interpolator& interpolator,
                           itp::TheoryAtomClassifier& classifier, proof::Proof* p,
                           bool raw);

  Terms& terms_;
  la::Solver& solver_;
  Mapper& mapper_;
  std::shared_ptr<const Grouping> grouping_;
  proof::ProofRef proof_;  // trimmed
  ExternalProofs exports_;
  ExternalProof* exported_;
  std::vector<proof::Proof*> steps_;  // without hypotheses
  // What the steps derive, where it is one constraint; empty for a large proof.
  StepTerms derived_;
};

}  // namespace opal::host

#endif

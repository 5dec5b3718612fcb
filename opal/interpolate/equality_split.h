#ifndef OPAL_INTERPOLATE_EQUALITY_SPLIT_H
#define OPAL_INTERPOLATE_EQUALITY_SPLIT_H

#include <memory>
#include <variant>
#include <vector>

#include "opal/arith/equality_proof.h"
#include "opal/base/limits.h"
#include "opal/checker/proof_checker.h"
#include "opal/interpolate/partition.h"
#include "opal/la/interpolator.h"
#include "opal/linear/mapper.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A proof of one half of a split equality. It refutes A and B together with the denial of
/// the half, which is an atom of the half's side.
struct EqualityHalf {
  proof::ProofRef proof;   // null when the side is the shared term itself
  bool completed = false;  // it needs hypotheses of the other side
};

/// How an equality was split: a_side = shared_term is A's half, shared_term = b_side B's.
struct EqualitySplit {
  itp::EqItpInfo terms;
  EqualityHalf of_A;
  EqualityHalf of_B;
};

/// Proves equalities between a term of A and a term of B from the atoms of both, and splits
/// the proofs by shared terms. One object serves one partition, that of a grouping's group
/// 0; later proofs over the same partition may use the equalities that were split.
///
///     EqualitySplitter splitter(terms, mapper, limits, grouping, atoms);
///     auto outcome = splitter.split(terms.make_equal(a, b));
///     if (auto* s = std::get_if<EqualitySplit>(&outcome)) use(s->terms.shared_term);
class EqualitySplitter {
 public:
  /// Keeps references to all; the grouping is copied. `atoms`: those of both groups, as
  /// they were entered in it, with what defines their floor terms.
  EqualitySplitter(Terms& terms, Mapper& mapper, Limits& limits, const Grouping& grouping,
                   std::vector<const Term_*> atoms);
  EqualitySplitter(const EqualitySplitter&) = delete;
  EqualitySplitter& operator=(const EqualitySplitter&) = delete;
  ~EqualitySplitter();

  /// Proves and splits an equality, of which one side has A's symbols only, the other B's,
  /// in either order. A side of shared symbols is the shared term itself. Throws what
  /// prove_equality() throws, and NotSplit for sides that do not fit the groups.
  std::variant<EqualitySplit, EqualityModel> split(const Term_* equality);

  /// A proof that uses equalities that were split, with their halves in their place: it can
  /// be interpolated for grouping(). It states them by Mapper::exact_constraint(), or by
  /// constraint() where a side has a Real variable; throws std::invalid_argument for a
  /// constraint that is normalised to less than that.
  [[nodiscard]] proof::ProofRef rewritten(la::LaProof& proof);

  /// The groups, with the halves of the split equalities and their denials.
  [[nodiscard]] std::shared_ptr<const Grouping> grouping() const { return grouping_; }

 private:
  // The leaves of a case of an equality's proof but the equality itself.
  struct Leaves {
    FarkasCombination of_A;
    FarkasCombination of_B;
  };

  [[nodiscard]] itp::EqItpInfo sides_of(const Term_* equality) const;
  [[nodiscard]] Leaves by_side(const FarkasCombination& leaves) const;
  EqualitySplit split_mixed(const Term_* equality, const EqualityProof& proof);
  EqualitySplit at_shared_side(itp::EqItpInfo terms, const EqualityProof& proof);
  EqualityHalf half(const itp::EqItpInfo& terms, bool of_A, proof::ProofRef proof,
                    const EqualityProof& equality);
  proof::ProofRef completed(const Term_* side, const Term_* shared, bool of_A,
                            FarkasCombination at_most, FarkasCombination at_least);

  Terms& terms_;
  Mapper& mapper_;
  Limits& limits_;
  std::shared_ptr<Grouping> grouping_;
  std::vector<const Term_*> atoms_;
  itp::TheoryAtomClassifier classifier_;
  itp::EqItpMap splits_;
  la::Interpolator interpolator_;
  ProofChecker checker_;
};

}  // namespace opal::host

#endif

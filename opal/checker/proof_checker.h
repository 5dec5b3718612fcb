#ifndef OPAL_CHECKER_PROOF_CHECKER_H
#define OPAL_CHECKER_PROOF_CHECKER_H

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "opal/interfaces/atom_classifier.h"
#include "opal/interfaces/proof.h"
#include "opal/interfaces/term_mapper.h"

namespace opal::host {

/// What the checker says of one half of a split proof.
struct CheckedHalf {
  std::string fault;  // empty for a half that keeps the promises
  /// Whether both cases are contradictions. If not, a case leaves a constraint over shared
  /// symbols, for which the other side's hypotheses are needed.
  bool stands_alone = false;
};

/// Checks a refutation against what was asserted, with arithmetic of its own: the linear
/// form of every leaf is computed again from its atom, integer constraints are rounded
/// again, and what the mapper says must follow. Also checked are the promises on which the
/// engine's answers rest; see docs/proofs.md.
///
/// Of the rules in opal/interfaces, LaHyp, LaComb, LaNeq, LaZTighteningProof,
/// LaZInternalBBProof and LaZEqSubProof are checked; a proof with another one is refused.
/// Halves of split proofs may have LaFakeHyp.
class ProofChecker {
 public:
  /// `asserted`: the atoms that were asserted (see literals.h).
  ProofChecker(la::ItpLinearTermMapper& mapper, const std::vector<const Term_*>& asserted);

  /// Nothing when `root` is a refutation that keeps the promises that do not depend on a
  /// partition; else what is wrong, and at which rule and constraint. Iterative. `root` may
  /// be null (which is wrong).
  [[nodiscard]] std::optional<std::string> check(const proof::Proof* root);

  /// The same for the promises about the partition into A and B for which a proof that
  /// check() has passed is to be interpolated: no atom mixes both sides, equality
  /// sub-proofs are trimmed, branches are entered in the table of atoms with one colour, A
  /// if their term has a symbol that is local to A, else B.
  [[nodiscard]] std::optional<std::string> check_partition(
      const proof::Proof* root, const itp::TheoryAtomClassifier& classifier);

  /// Nothing when `root` can be split: a LaNeq over the denial of an equality that mixes
  /// both sides, of which the mapper says exactly the difference, with each case a rational
  /// contradiction that uses it once, with multiplier one, and with the sign -1 in the
  /// first case and not in the second, and that would be none without it.
  [[nodiscard]] std::optional<std::string> check_split(
      const proof::Proof* root, const itp::TheoryAtomClassifier& classifier);
  /// Looks at a half that a split returned, with the classifier as the split left it.
  /// Refused: hypotheses of the other side, fake hypotheses that do not say what their
  /// equality says, a case that leaves a symbol that is not shared.
  [[nodiscard]] CheckedHalf check_half(const proof::Proof* root,
                                       const itp::TheoryAtomClassifier& classifier);

 private:
  class Run;

  la::ItpLinearTermMapper& mapper_;
  std::unordered_set<const Term_*> asserted_;
};

}  // namespace opal::host

#endif

#ifndef OPAL_HOST_PROOF_CHECKER_H
#define OPAL_HOST_PROOF_CHECKER_H

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interfaces/term_mapper.h"

namespace opal::host {

/// Checks a refutation against what was asserted, with arithmetic of its own: the linear
/// form of every leaf is computed again from its atom, and what the mapper says of it must
/// agree. Also checked are the promises on which the engine's answers rest; see
/// docs/proofs.md.
class ProofChecker {
 public:
  /// `asserted`: the atoms that were asserted (see literals.h).
  ProofChecker(la::ItpLinearTermMapper& mapper, const std::vector<const Term_*>& asserted);

  /// Nothing when `root` is a refutation that keeps the promises; else what is wrong, and
  /// at which rule and constraint. Iterative. `root` may be null (which is wrong).
  [[nodiscard]] std::optional<std::string> check(const proof::Proof* root);

 private:
  class Run;

  la::ItpLinearTermMapper& mapper_;
  std::unordered_set<const Term_*> asserted_;
};

}  // namespace opal::host

#endif

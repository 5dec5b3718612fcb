#ifndef OPAL_ARITH_EQUALITY_PROOF_H
#define OPAL_ARITH_EQUALITY_PROOF_H

#include <variant>
#include <vector>

#include "opal/base/error.h"
#include "opal/base/limits.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/evaluator.h"

namespace opal::host {

/// An equality that cannot be proved or split; what() says why.
class NotSplit : public Error {
 public:
  using Error::Error;
};

/// Why a = b: the refutations of a < b and of a > b. In each the constraint `disequality`,
/// which is a - b /= 0 exactly, occurs once, with the multiplier 1, and with the sign -1 in
/// the first and 1 in the second.
struct EqualityProof {
  int disequality;
  FarkasCombination below;
  FarkasCombination above;
};

/// Why not: values of the variables of the atoms and of a and b, in the order of the
/// terms' ids, with which the atoms hold and a < b (`below`) or a > b.
struct EqualityModel {
  bool below;
  std::vector<const Term_*> variables;
  Model values;
};

/// Decides whether atoms (see literals.h), which must be satisfiable, imply an equality.
/// The proof is a rational one, of those atoms that are no disequalities.
///
/// Throws NotSplit for atoms that contradict each other, for an equality that integers
/// alone make true (its proof needs a cut), and for atoms over unbounded integers that the
/// solver gives up on; NotLinear for sides that are not linear, LimitReached at a limit.
std::variant<EqualityProof, EqualityModel> prove_equality(
    Terms& terms, Mapper& mapper, Limits& limits, const std::vector<const Term_*>& atoms,
    const Term_* equality);

}  // namespace opal::host

#endif

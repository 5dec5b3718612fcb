#ifndef OPAL_INTERFACES_LAZ_PROOF_H
#define OPAL_INTERFACES_LAZ_PROOF_H

// The nodes of integer proofs.

#include <cassert>
#include <utility>
#include <vector>

#include "opal/interfaces/equation.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/proof.h"
#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal::laz {

/// Cut: integer constraints are combined, the coefficients divided by `divisor`, and the
/// constant rounded down.
class LaZTighteningProof final : public la::LaProof {
 public:
  LaZTighteningProof(std::vector<int> ids, std::vector<QNumber> multipliers, QNumber k,
                     int var)
      : constraints(std::move(ids)),
        coeffs(std::move(multipliers)),
        divisor(std::move(k)),
        tight_var(var) {}

  const std::vector<int> constraints;  // the premises, then the conclusion
  const std::vector<QNumber> coeffs;   // one multiplier per premise
  const QNumber divisor;
  const int tight_var;  // stands for the cut; different in every node
};

/// Branch on an integer term: `left_term` or `right_term` holds, each is refuted.
class LaZInternalBBProof final : public dpll::proof::TheoryProof {
 public:
  /// Takes over one reference to each branch.
  LaZInternalBBProof(proof::Proof* l, proof::Proof* r, int l_id, int r_id,
                     la::LinearTerm l_term, la::LinearTerm r_term)
      : left(l),
        right(r),
        left_id(l_id),
        right_id(r_id),
        left_term(std::move(l_term)),
        right_term(std::move(r_term)) {
    assert(left_term.is_normal() && right_term.is_normal());
  }
  ~LaZInternalBBProof() override;

  proof::Proof* const left;
  proof::Proof* const right;
  const int left_id;
  const int right_id;
  const la::LinearTerm left_term;
  const la::LinearTerm right_term;
};

/// The clause that states a branch; `lit3` is null for a clause of two literals.
class LaZBBLemma final : public dpll::proof::TheoryProof {
 public:
  LaZBBLemma(TheoryLit l1, TheoryLit l2, TheoryLit l3 = TheoryLit())
      : lit1(l1), lit2(l2), lit3(l3) {}

  const TheoryLit lit1;
  const TheoryLit lit2;
  const TheoryLit lit3;
};

/// Equalities whose combination has integer coefficients and a fractional constant.
class LaZEqSubProof final : public dpll::proof::TheoryProof {
 public:
  LaZEqSubProof(std::vector<int> ids, std::vector<QNumber> multipliers)
      : constraints(std::move(ids)), coeffs(std::move(multipliers)) {}

  const std::vector<int> constraints;
  const std::vector<QNumber> coeffs;  // one multiplier per constraint, signed
};

}  // namespace opal::laz

#endif

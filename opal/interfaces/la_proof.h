#ifndef OPAL_INTERFACES_LA_PROOF_H
#define OPAL_INTERFACES_LA_PROOF_H

// The nodes of rational proofs.

#include <cassert>
#include <memory>

#include "opal/interfaces/equation.h"
#include "opal/interfaces/proof.h"
#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal::la {

/// Base of the rules of rational linear arithmetic. Kinds are told apart by dynamic type;
/// no rule derives from another one.
class LaProof : public proof::Proof {};

/// Hypothesis: the constraint with an id, as asserted. `sign` is 0 for an inequality and
/// selects the half of an equality or disequality: -1 at most, +1 at least.
class LaHyp final : public LaProof {
 public:
  LaHyp(int constr_id, int hyp_sign) : constraint_id(constr_id), sign(hyp_sign) {}
  ~LaHyp() override = default;

  const int constraint_id;
  const int sign;
};

/// Combination: coeff1 * premise1 + coeff2 * premise2. A null multiplier means one.
class LaComb final : public LaProof {
 public:
  /// One, the meaning of a null multiplier.
  static const QNumber one;

  /// Takes over the multipliers and one reference to each premise. The three integers
  /// are reserved for solvers that number their steps.
  LaComb(QNumber* c1, proof::Proof* p1, QNumber* c2, proof::Proof* p2, int, int, int)
      : coeff1(c1), coeff2(c2), premise1(p1), premise2(p2) {
    assert(c1 == nullptr || c1 != c2);
    assert(c1 != &one && c2 != &one);
  }
  ~LaComb() override;

  QNumber* const coeff1;
  QNumber* const coeff2;
  proof::Proof* const premise1;
  proof::Proof* const premise2;
};

/// Implication: the premise implies the constraint, whose negation contradicts it.
class LaCombImp final : public LaProof {
 public:
  /// Takes over one reference to the premise.
  LaCombImp(int constr_id, int imp_sign, proof::Proof* p)
      : constraint_id(constr_id), sign(imp_sign), premise(p) {}
  ~LaCombImp() override;

  const int constraint_id;
  const int sign;
  proof::Proof* const premise;
};

/// Case split on a disequality: one refutation for each strict side.
class LaNeq final : public LaProof {
 public:
  /// Takes over one reference to each case.
  LaNeq(int constr_id, proof::Proof* first_case, proof::Proof* second_case)
      : constraint_id(constr_id), case1(first_case), case2(second_case) {}
  ~LaNeq() override;

  const int constraint_id;
  proof::Proof* const case1;
  proof::Proof* const case2;
};

/// A hypothesis that carries its own constraint, in place of what the mapper says.
class LaFakeHyp final : public LaProof {
 public:
  /// Takes over the equation.
  LaFakeHyp(int constr_id, int hyp_sign, Equation* eq)
      : constraint_id(constr_id), sign(hyp_sign), equation(eq) {
    assert(eq != nullptr && eq->is_normal());
  }
  ~LaFakeHyp() override = default;

  const int constraint_id;
  const int sign;
  const std::unique_ptr<Equation> equation;
};

/// The valid clause `e or not l1 or not l2` over an equality and the two inequalities that
/// make it up.
class LaEqSplitLemma final : public LaProof {
 public:
  LaEqSplitLemma(const Term_* e, const Term_* l1, const Term_* l2)
      : equality(e), inequality1(l1), inequality2(l2) {}

  const Term_* const equality;
  const Term_* const inequality1;
  const Term_* const inequality2;
};

/// A literal that is valid by itself.
class LaUnitLemma final : public LaProof {
 public:
  explicit LaUnitLemma(TheoryLit l) : lit(l) {}

  const TheoryLit lit;
};

}  // namespace opal::la

#endif

#ifndef OPAL_HOST_SIMPLIFIER_RULES_H
#define OPAL_HOST_SIMPLIFIER_RULES_H

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "opal/host/simplifier_atoms.h"
#include "opal/host/simplifier_region.h"
#include "opal/host/terms.h"

namespace opal::host {

/// The rules by which simplified formulas are joined under one connective.
///
/// Each rule is written for a conjunction. For a disjunction the dual one applies: it is
/// what the rule does to the negated operands of the negated disjunction, so that one
/// piece of code, which negates the literals where it reads and writes them, serves both.
class OperandRules {
 public:
  using Operands = std::vector<const Term_*>;

  /// Keeps references to both.
  OperandRules(Terms& terms, AtomForms& forms) : terms_(terms), forms_(forms) {}

  /// The simplified conjunction or disjunction of simplified formulas.
  const Term_* join(bool conjunction, Operands operands);

 private:
  // The regions of the forms that the literals among the operands bound, negated in a
  // disjunction.
  using Regions = std::unordered_map<std::size_t, Region>;

  struct Member {
    const Term_* term;
    bool is_literal;
    BoundLiteral literal;  // of the term, negated in a disjunction
  };

  void reduce(bool conjunction, Operands& operands);
  void flatten(bool conjunction, Operands& operands) const;
  Regions merge_bounds(bool conjunction, Operands& operands);
  bool use_units(bool conjunction, Operands& operands, const Regions& regions);
  const Term_* use_units_in(bool conjunction, const Term_* operand, const Regions& regions);
  Operands take_common(bool conjunction, Operands& operands) const;

  Member read(bool conjunction, const Term_* operand);
  const Term_* build(bool conjunction, const Operands& operands) const;
  [[nodiscard]] Operands operands_of(bool conjunction, const Term_* t) const;
  [[nodiscard]] const Term_* neutral(bool conjunction) const {
    return conjunction ? terms_.true_term() : terms_.false_term();
  }

  Terms& terms_;
  AtomForms& forms_;
  std::unordered_map<const Term_*, BoundLiteral> readings_;  // of literals seen so far
};

}  // namespace opal::host

#endif

#ifndef OPAL_SIMPLIFY_RULES_H
#define OPAL_SIMPLIFY_RULES_H

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "opal/simplify/atoms.h"
#include "opal/simplify/connective.h"
#include "opal/simplify/region.h"
#include "opal/terms/terms.h"

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
  const Term_* join(Connective c, Operands operands);

  /// Whether an operand of an operand lost operands so that a rule matches what is left of
  /// it: simplifying the whole formula again applies that.
  [[nodiscard]] bool another_pass() const { return another_pass_; }

 private:
  // The regions of the forms that the literals among the operands bound, negated in a
  // disjunction.
  using Regions = std::unordered_map<std::size_t, Region>;

  struct Member {
    const Term_* term;
    bool is_literal;
    BoundLiteral literal;  // of the term, negated in a disjunction
  };

  struct Merged {
    Regions regions;
    bool moved =
        false;  // whether a literal came out as one on another form, or true or false
  };

  void reduce(Connective c, Operands& operands);
  void flatten(Connective c, Operands& operands) const;
  Merged merge_bounds(Connective c, Operands& operands);
  bool use_units(Connective c, Operands& operands, const Regions& regions);
  const Term_* use_units_in(Connective c, const Term_* operand, const Regions& regions);
  void drop_subsumed(Connective c, Operands& operands);
  [[nodiscard]] Operands common_operands(Connective c, const Operands& operands) const;
  Operands take_common(Connective c, Operands& operands);

  // A connective within the joined one, read so that it is a conjunction.
  struct Cube {
    const Term_* term;
    std::vector<Member> members;
    Regions regions;
    std::unordered_set<const Term_*> others;  // members that are no literals
    bool subsumed = false;
  };
  Cube read_cube(Connective c, const Term_* operand);
  bool is_within(const Cube& small, const Cube& large) const;

  Member read(Connective c, const Term_* operand);
  const Term_* build_rest(Connective c, const Operands& rest);
  const Term_* build(Connective c, const Operands& operands) const;
  [[nodiscard]] Operands operands_of(Connective c, const Term_* t) const;
  [[nodiscard]] bool is_truth(const Term_* t) const {
    return t == terms_.true_term() || t == terms_.false_term();
  }
  [[nodiscard]] const Term_* neutral(Connective c) const {
    return c == Connective::AND ? terms_.true_term() : terms_.false_term();
  }

  Terms& terms_;
  AtomForms& forms_;
  bool another_pass_ = false;
  std::unordered_map<const Term_*, BoundLiteral> readings_;  // of literals seen so far
};

}  // namespace opal::host

#endif

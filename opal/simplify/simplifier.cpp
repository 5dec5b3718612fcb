// Simplification of formulas, bottom-up.
//
// Negations are pushed into the atoms, atoms are read as bounds on forms and written again
// (atoms.h), and connectives are joined by rules (rules.h). A pass that leaves a rule with
// something to do asks for another one. Example:
//
//     (not (or (< 3 x) (not (<= (* 2 x) 5))))      with an Int x
//     x <= 3 and 2x <= 5                           negations pushed
//     x <= 3 and x <= 2                            atoms normalised
//     x <= 2                                       joined
//
// Cost: each formula, under each sign, is simplified once in a pass; there are at most
// MAX_PASSES of them.

#include "opal/simplify/simplifier.h"

#include <cassert>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "opal/interfaces/term.h"
#include "opal/simplify/atoms.h"
#include "opal/simplify/rules.h"

namespace opal::host {

namespace {

bool is_connective(const Term_* t) {
  return Terms::kind_of(t) == Kind::AND || Terms::kind_of(t) == Kind::OR;
}

// rule push-negation
// match:  (not (not a)), (not (and a b)),          (not (or a b))
// result: a,             (or (not a) (not b)),     (and (not a) (not b))
// A formula under a sign stands for the formula or its negation; this takes the `not`s at
// its top into the sign.
TheoryLit without_not(TheoryLit formula) {
  while (Terms::kind_of(formula.atom()) == Kind::NOT) {
    formula = TheoryLit(formula.atom()->arg(0), !formula.is_negated());
  }
  assert(!formula.has_no_atom());
  return formula;
}

// The connective at the top of a formula under a sign.
Connective connective_of(TheoryLit formula) {
  assert(is_connective(formula.atom()));
  const bool is_and = Terms::kind_of(formula.atom()) == Kind::AND;
  return is_and != formula.is_negated() ? Connective::AND : Connective::OR;
}

// The operands of a connective under a sign, those of nested connectives of the same kind
// included, each once.
std::vector<TheoryLit> signed_operands(TheoryLit formula) {
  const Connective connective = connective_of(formula);
  std::vector<TheoryLit> operands;
  std::vector<TheoryLit> stack{formula};
  std::unordered_set<std::uint64_t> seen;
  while (!stack.empty()) {
    const TheoryLit top = stack.back();
    stack.pop_back();
    if (!seen.insert(top.bits()).second) continue;
    const Term_* t = top.atom();
    if (!is_connective(t) || connective_of(top) != connective) {
      operands.push_back(top);
      continue;
    }
    for (std::size_t i = t->num_args(); i-- > 0;) {
      stack.push_back(without_not(TheoryLit(t->arg(i), top.is_negated())));
    }
  }
  return operands;
}

// Simplifies bottom-up, once.
class Simplifier {
 public:
  explicit Simplifier(Terms& terms) : terms_(terms), forms_(terms), rules_(terms, forms_) {}

  const Term_* simplify(const Term_* formula) {
    assert(open_.empty());
    const TheoryLit root = without_not(TheoryLit(formula));
    visit(root);
    while (!open_.empty())
      step();
    assert(results_.count(root.bits()) == 1);
    return results_.at(root.bits());
  }

  [[nodiscard]] bool another_pass() const { return rules_.another_pass(); }

 private:
  struct Open {
    TheoryLit formula;
    std::vector<TheoryLit> operands;
    std::size_t next;
  };

  // Enters the result of an atom, or opens a connective.
  void visit(TheoryLit formula) {
    if (results_.count(formula.bits()) != 0) return;
    if (is_connective(formula.atom())) {
      open_.push_back({formula, signed_operands(formula), 0});
      return;
    }
    const AtomReading reading = forms_.read(formula);
    const Term_* result = !reading.truth   ? forms_.write(reading.literal)
                          : *reading.truth ? terms_.true_term()
                                           : terms_.false_term();
    results_.emplace(formula.bits(), result);
  }

  void step() {
    assert(!open_.empty());
    Open& top = open_.back();
    assert(top.next <= top.operands.size());
    if (top.next < top.operands.size()) {
      visit(top.operands[top.next++]);
      return;
    }
    OperandRules::Operands operands;
    for (const TheoryLit operand : top.operands) {
      operands.push_back(results_.at(operand.bits()));
    }
    const TheoryLit formula = top.formula;
    open_.pop_back();
    results_.emplace(formula.bits(),
                     rules_.join(connective_of(formula), std::move(operands)));
  }

  Terms& terms_;
  AtomForms forms_;
  OperandRules rules_;
  std::vector<Open> open_;
  std::unordered_map<std::uint64_t, const Term_*> results_;  // by signed formula
};

}  // namespace

const Term_* simplify(Terms& terms, const Term_* formula) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  constexpr int MAX_PASSES = 10;
  const BuildingFlagScope exact(terms, 0);
  for (int pass = 1;; ++pass) {
    Simplifier simplifier(terms);
    formula = simplifier.simplify(formula);
    if (!simplifier.another_pass() || pass == MAX_PASSES) return formula;
  }
}

std::size_t dag_size(const Term_* t) { return dag_size(std::vector<const Term_*>{t}); }

std::size_t dag_size(const std::vector<const Term_*>& terms) {
  std::unordered_set<const Term_*> seen;
  std::vector<const Term_*> stack(terms);
  while (!stack.empty()) {
    const Term_* t = stack.back();
    assert(t != nullptr);
    stack.pop_back();
    if (seen.insert(t).second) stack.insert(stack.end(), t->begin(), t->end());
  }
  return seen.size();
}

}  // namespace opal::host

// Chains of `and` and `or`, and the clauses made of them.
//
// The operands of a chain are found with a stack. A task makes the clauses of one polarity
// of an auxiliary variable: with the guard ~p those that say p implies the sub-formula,
// with the guard p those that say ~p implies its negation.

#include "opal/smt/clausifier.h"

#include <algorithm>
#include <cassert>

#include "opal/linear/literals.h"
#include "opal/terms/print/printer.h"

namespace opal::smt {

using host::Kind;
using host::Sort;
using host::Terms;
using resolution::Meaning;
using sat::Literal;
using sat::Variable;

namespace {

// A conjunction is distributed over at most this many other literals of a clause.
constexpr std::size_t DISTRIBUTED_OVER = 2;

}  // namespace

Clausifier::Goal Clausifier::goal_of(const Term_* formula, bool positive) {
  for (;;) {
    if (Terms::kind_of(formula) == Kind::NOT) {
      formula = formula->arg(0);
      positive = !positive;
    } else if (const Term_* const lifted = by_cases(formula); lifted != formula) {
      formula = lifted;
    } else {
      return {formula, positive};
    }
  }
}

Clausifier::Shape Clausifier::shape_of(Goal goal) {
  const Term_* const t = goal.term;
  switch (Terms::kind_of(t)) {
    case Kind::TRUE:
    case Kind::FALSE: return Shape::CONSTANT;
    case Kind::AND: return goal.positive ? Shape::CONJUNCTION : Shape::DISJUNCTION;
    case Kind::OR: return goal.positive ? Shape::DISJUNCTION : Shape::CONJUNCTION;
    case Kind::ITE: return Shape::GATE;
    case Kind::EQ:
    case Kind::NEQ:
      return Terms::sort_of(t->arg(0)) == Sort::BOOL ? Shape::GATE : Shape::LITERAL;
    case Kind::VARIABLE:
    case Kind::LEQ:
    case Kind::LT:
    case Kind::CONGRUENCE: return Shape::LITERAL;
    default: break;
  }
  throw host::Unsupported("not supported: " + host::term_text(t, 80), t);
}

Clausifier::Node& Clausifier::node(const Term_* t) {
  if (t->id() >= nodes_.size()) nodes_.resize(terms_.size() + terms_.size() / 4 + 64);
  Node& result = nodes_[t->id()];
  if (result.stamp != stamp_) {
    result = Node();
    result.stamp = stamp_;
  }
  return result;
}

const ClauseList& Clausifier::clauses(const Term_* formula, std::uint32_t assertion,
                                      Literal guard) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  const std::size_t definitions = definitions_.size();
  try {
    begin(assertion, guard);
    count_occurrences(formula);
    emit(goal_of(formula, true), Place::TOP);
    for (std::size_t i = 0; i < tasks_.size(); ++i) {
      const Task task = tasks_[i];
      if (task.constant != nullptr) {
        guard_ = Literal();
        emit_number(task);
        continue;
      }
      const Literal auxiliary = node(task.goal.term).auxiliary;
      guard_ = task.goal.positive ? ~auxiliary : auxiliary;
      emit(task.goal, Place::BELOW);
    }
  } catch (...) {
    definitions_.resize(definitions);
    throw;
  }
  return clauses_;
}

void Clausifier::begin(std::uint32_t assertion, Literal guard) {
  assertion_ = assertion;
  level_ = guard;
  guard_ = Literal();
  if (++stamp_ == 0) {  // all stamps have been used: those of long ago must not match
    nodes_.clear();
    stamp_ = 1;
  }
  tasks_.clear();
  stack_.clear();
  clauses_.clear();
  replaced_.clear();
  lifted_.clear();
}

// How often each sub-formula stands in others. Numbers are entered only for the conditions
// in them.
void Clausifier::count_occurrences(const Term_* formula) {
  std::vector<const Term_*> stack{goal_of(formula, true).term};
  while (!stack.empty()) {
    const Term_* const t = stack.back();
    stack.pop_back();
    std::uint8_t& occurrences = node(t).occurrences;
    if (occurrences == 2) continue;
    if (++occurrences == 2) continue;
    const bool formula_below = Terms::sort_of(t) == Sort::BOOL && t->num_args() > 0 &&
                               Terms::sort_of(t->arg(0)) == Sort::BOOL;
    if (!formula_below && !has_case(t)) continue;
    for (const Term_* argument : *t)
      stack.push_back(goal_of(argument, true).term);
  }
}

// The clauses of a goal, each with the guard.
void Clausifier::emit(Goal goal, Place place) {
  if (shape_of(goal) != Shape::CONJUNCTION) {
    emit_operand(goal, place);
    return;
  }
  operands_.clear();
  flatten(goal, place, operands_);
  for (const Goal operand : operands_) {
    terms_.poll();
    if (place == Place::BELOW && node(operand.term).occurrences > 1) {
      begin_clause();
      append_literal(literal_of(operand));
      end_clause();
    } else {
      emit_operand(operand, place);
    }
  }
}

// The clauses of a goal that is no conjunction.
void Clausifier::emit_operand(Goal goal, Place place) {
  const Shape shape = shape_of(goal);
  if (place == Place::TOP && shape != Shape::CONSTANT) {
    std::uint8_t& asserted = node(goal.term).asserted;
    if ((asserted & bit(goal)) != 0) return;
    asserted |= bit(goal);
  }
  if (shape == Shape::GATE) {
    emit_gate(goal);
    return;
  }
  disjuncts_.clear();
  if (shape == Shape::DISJUNCTION) {
    flatten(goal, Place::BELOW, disjuncts_);
  } else {
    disjuncts_.push_back(goal);
  }
  emit_disjuncts();
}

// The clause of the disjuncts, or one for each operand of a conjunction among them.
void Clausifier::emit_disjuncts() {
  const std::size_t others = disjuncts_.size() - 1 + (guard_.is_valid() ? 1 : 0);
  if (others <= DISTRIBUTED_OVER)
    for (std::size_t i = disjuncts_.size(); i-- > 0;)
      if (shape_of(disjuncts_[i]) == Shape::CONJUNCTION &&
          node(disjuncts_[i].term).occurrences < 2) {
        distribute(i);
        return;
      }
  begin_clause();
  for (const Goal disjunct : disjuncts_) {
    if (clause_is_true_) break;
    append_literal(literal_of(disjunct));
  }
  end_clause();
}

// a or (b and c) is {a, b}, {a, c}.
void Clausifier::distribute(std::size_t conjunction) {
  const Goal goal = disjuncts_[conjunction];
  disjuncts_.erase(disjuncts_.begin() + static_cast<std::ptrdiff_t>(conjunction));
  std::vector<Literal> others;
  for (const Goal disjunct : disjuncts_)
    others.push_back(literal_of(disjunct));
  distributed_.clear();
  flatten(goal, Place::BELOW, distributed_);
  for (const Goal operand : distributed_) {
    begin_clause();
    for (const Literal literal : others)
      append_literal(literal);
    disjuncts_.clear();
    if (shape_of(operand) == Shape::DISJUNCTION && node(operand.term).occurrences < 2) {
      flatten(operand, Place::BELOW, disjuncts_);
    } else {
      disjuncts_.push_back(operand);
    }
    for (const Goal disjunct : disjuncts_)
      append_literal(literal_of(disjunct));
    end_clause();
  }
}

// The operands of the conjunction, or disjunction, `root`, in their order. On top each part
// of a conjunction is entered once.
void Clausifier::flatten(Goal root, Place place, std::vector<Goal>& operands) {
  const Shape shape = shape_of(root);
  assert(shape == Shape::CONJUNCTION || shape == Shape::DISJUNCTION);
  const bool enter_shared = place == Place::TOP && shape == Shape::CONJUNCTION;
  assert(stack_.empty());
  stack_.push_back(root);
  bool is_root = true;
  while (!stack_.empty()) {
    const Goal goal = stack_.back();
    stack_.pop_back();
    const bool fits = shape_of(goal) == shape;
    if (!fits || !(is_root || enter_shared || node(goal.term).occurrences < 2)) {
      operands.push_back(goal);
      continue;
    }
    is_root = false;
    if (enter_shared) {
      std::uint8_t& asserted = node(goal.term).asserted;
      if ((asserted & bit(goal)) != 0) continue;
      asserted |= bit(goal);
    }
    for (std::size_t i = goal.term->num_args(); i-- > 0;)
      stack_.push_back(goal_of(goal.term->arg(i), goal.positive));
  }
}

void Clausifier::begin_clause() {
  clause_.clear();
  clause_is_true_ = false;
  if (level_.is_valid()) clause_.push_back(level_);
  if (guard_.is_valid()) clause_.push_back(guard_);
}

void Clausifier::append_literal(Literal literal) {
  if (literal == TRUE_LITERAL) {
    clause_is_true_ = true;
  } else if (literal != FALSE_LITERAL) {
    clause_.push_back(literal);
  }
}

void Clausifier::end_clause() {
  if (!clause_is_true_) clauses_.add(clause_);
}

// The literal that stands for a goal. An auxiliary one gets clauses for this polarity.
Literal Clausifier::literal_of(Goal goal) {
  const auto with_sign = [&](Literal literal) {
    return goal.positive ? literal : ~literal;
  };
  switch (shape_of(goal)) {
    case Shape::CONSTANT:
      return with_sign(Terms::kind_of(goal.term) == Kind::TRUE ? TRUE_LITERAL
                                                               : FALSE_LITERAL);
    case Shape::LITERAL: return with_sign(atom_literal(goal.term));
    default: break;
  }
  Node& entry = node(goal.term);
  if (!entry.auxiliary.is_valid()) {
    const Variable variable = search_.make_variable();
    if (variable >= meanings_.size()) meanings_.resize(variable + variable / 4 + 64);
    Meaning& meaning = meanings_[variable];
    meaning.kind = Meaning::Kind::AUXILIARY;
    meaning.formula = goal.term;
    meaning.assertion = assertion_;
    entry.auxiliary = Literal(variable);
  }
  if ((entry.defined & bit(goal)) == 0) {
    tasks_.push_back({goal, nullptr});
    entry.defined |= bit(goal);
  }
  return with_sign(entry.auxiliary);
}

Literal Clausifier::literal(const Term_* formula) {
  bool positive = true;
  for (; Terms::kind_of(formula) == Kind::NOT; formula = formula->arg(0))
    positive = !positive;
  if (shape_of({formula, true}) != Shape::LITERAL ||
      Terms::kind_of(formula) == Kind::CONGRUENCE || has_case(formula))
    return Literal();
  if (!host::floor_definitions(terms_, formula).empty()) return Literal();
  const Literal literal = atoms_.literal(formula);
  if (literal.variable() == TRUE_LITERAL.variable()) return Literal();
  return positive ? literal : ~literal;
}

}  // namespace opal::smt

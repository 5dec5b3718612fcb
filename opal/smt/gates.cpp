// Equivalences, cases, and numbers by cases.
//
//     a = b         {~a, b}  {a, ~b}            not a = b        {a, b}  {~a, ~b}
//     ite(c, a, b)  {~c, a}  {c, b}             not ite(c, a, b) {~c, ~a}  {c, ~b}
//     x = ite(c, s, t)  as  ite(c, x = s, x = t)
//     v for ite(c, s, t) elsewhere in an atom, v new      {~c, v = s}  {c, v = t}
//
// Each of these has the guard of the task at hand besides.

#include <cassert>

#include "opal/linear/literals.h"
#include "opal/smt/clausifier.h"

namespace opal::smt {

using host::Kind;
using host::Sort;
using host::Terms;
using sat::Literal;

namespace {

// So many atoms of an assertion are taken by the cases of one number at most; the others
// have its fresh constant, so that the clauses stay linear in the assertion.
constexpr std::uint8_t LIFTED_AT_MOST = 4;

bool is_number_by_cases(const Term_* t) {
  return Terms::kind_of(t) == Kind::ITE && Terms::sort_of(t) != Sort::BOOL;
}

bool compares_numbers(const Term_* t) {
  switch (Terms::kind_of(t)) {
    case Kind::LEQ:
    case Kind::LT: return true;
    case Kind::EQ:
    case Kind::NEQ: return Terms::sort_of(t->arg(0)) != Sort::BOOL;
    default: break;
  }
  return false;
}

}  // namespace

void Clausifier::emit_gate(Goal goal) {
  const Term_* const t = goal.term;
  if (Terms::kind_of(t) == Kind::ITE) {
    const Goal condition = goal_of(t->arg(0), true);
    emit_clause_of_two(opposite(condition), goal_of(t->arg(1), goal.positive));
    emit_clause_of_two(condition, goal_of(t->arg(2), goal.positive));
    return;
  }
  assert(Terms::kind_of(t) == Kind::EQ || Terms::kind_of(t) == Kind::NEQ);
  const bool equal = (Terms::kind_of(t) == Kind::EQ) == goal.positive;
  const Goal a = goal_of(t->arg(0), true);
  const Goal b = goal_of(t->arg(1), equal);
  emit_clause_of_two(opposite(a), b);
  emit_clause_of_two(a, opposite(b));
}

void Clausifier::emit_clause_of_two(Goal a, Goal b) {
  disjuncts_.clear();
  for (const Goal goal : {a, b})
    if (shape_of(goal) == Shape::DISJUNCTION && node(goal.term).occurrences < 2)
      flatten(goal, Place::BELOW, disjuncts_);
    else
      disjuncts_.push_back(goal);
  emit_disjuncts();
}

// The fresh constant has the value of the branch that the condition takes.
void Clausifier::emit_number(const Task& task) {
  const Term_* const t = task.goal.term;
  assert(is_number_by_cases(t));
  const Goal condition = goal_of(t->arg(0), true);
  for (const std::size_t branch : {1U, 2U}) {
    const Term_* const value = without_cases(t->arg(branch));
    const Literal equal = plain_atom_literal(terms_.make_equal(task.constant, value));
    begin_clause();
    append_literal(literal_of(branch == 1 ? opposite(condition) : condition));
    append_literal(equal);
    end_clause();
  }
}

// The literal of an arithmetic atom or a Boolean variable.
Literal Clausifier::atom_literal(const Term_* atom) {
  if (Terms::kind_of(atom) == Kind::VARIABLE) return atoms_.literal(atom);
  return plain_atom_literal(has_case(atom) ? without_cases(atom) : atom);
}

// The same without any `ite` in it.
Literal Clausifier::plain_atom_literal(const Term_* atom) {
  if (Terms::kind_of(atom) == Kind::CONGRUENCE)
    atom = host::congruence_equality(terms_, atom);
  if (atom->num_args() == 0)  // folded to a truth value
    return atom == terms_.true_term() ? TRUE_LITERAL : FALSE_LITERAL;
  define_floors(atom);
  return atoms_.literal(atom);
}

// Clauses that say what the floors in an atom are, once an assertion.
void Clausifier::define_floors(const Term_* atom) {
  std::vector<Literal> clause;
  for (const Term_* const definition : host::floor_definitions(terms_, atom)) {
    std::uint8_t& asserted = node(definition).asserted;
    if ((asserted & 1U) != 0) continue;
    asserted |= 1U;
    const Literal literal = atoms_.literal(definition);
    if (literal == TRUE_LITERAL) continue;
    assert(literal != FALSE_LITERAL);
    clause.clear();
    if (level_.is_valid()) clause.push_back(level_);
    clause.push_back(literal);
    clauses_.add(clause);
  }
}

// Whether an arithmetic term or atom has an `ite` in it.
bool Clausifier::has_case(const Term_* t) {
  enum : std::uint8_t { UNKNOWN, NO, YES };
  if (t->num_args() == 0) return false;
  if (t->id() >= has_case_.size()) has_case_.resize(terms_.size() + 1, UNKNOWN);
  std::vector<const Term_*> stack;
  if (has_case_[t->id()] == UNKNOWN) stack.push_back(t);
  while (!stack.empty()) {
    const Term_* const top = stack.back();
    std::uint8_t answer = Terms::kind_of(top) == Kind::ITE ? YES : NO;
    const std::size_t below = stack.size();
    for (const Term_* argument : *top) {
      if (answer == YES || argument->num_args() == 0) continue;
      const std::uint8_t known = has_case_[argument->id()];
      if (known == UNKNOWN) stack.push_back(argument);
      if (known == YES) answer = YES;
    }
    if (answer == NO && stack.size() > below) continue;
    stack.resize(below);
    has_case_[top->id()] = answer;
    stack.pop_back();
  }
  return has_case_[t->id()] == YES;
}

// ite(c, s rel t, s' rel t) for ite(c, s, s') rel t, or the other way round, when t has no
// cases; other terms are given back. The same answer for the same term all the time.
const Term_* Clausifier::by_cases(const Term_* t) {
  if (!compares_numbers(t) || !has_case(t)) return t;
  if (const auto known = lifted_.find(t); known != lifted_.end()) return known->second;
  const Term_* result = t;
  for (const std::size_t side : {0U, 1U}) {
    const Term_* const choice = t->arg(side);
    const Term_* const other = t->arg(1 - side);
    if (!is_number_by_cases(choice) || has_case(other)) continue;
    if (node(choice).lifted == LIFTED_AT_MOST) continue;
    node(choice).lifted++;
    const BuildingFlagScope simplified(terms_, 1);
    const auto compared = [&](const Term_* value) {
      return side == 0 ? terms_.make_term(t->symbol(), {value, other})
                       : terms_.make_term(t->symbol(), {other, value});
    };
    result =
        terms_.make_ite(choice->arg(0), compared(choice->arg(1)), compared(choice->arg(2)));
  }
  lifted_.emplace(t, result);
  return result;
}

// An arithmetic term or atom with fresh constants instead of its outermost `ite` terms.
// Branches of these come later, with the clauses of the constants.
const Term_* Clausifier::without_cases(const Term_* t) {
  if (!has_case(t)) return t;
  std::vector<const Term_*> stack{t};
  while (!stack.empty()) {
    const Term_* const top = stack.back();
    if (replaced_.count(top) != 0) {
      stack.pop_back();
      continue;
    }
    const std::size_t below = stack.size();
    if (Terms::kind_of(top) != Kind::ITE)
      for (const Term_* argument : *top)
        if (has_case(argument) && replaced_.count(argument) == 0) stack.push_back(argument);
    if (stack.size() > below) continue;
    replaced_[top] =
        Terms::kind_of(top) == Kind::ITE ? constant_for(top) : with_arguments_replaced(top);
    stack.pop_back();
  }
  return replaced_.at(t);
}

// A name that begins with a dot is reserved for solvers, so no user's symbol has it.
const Term_* Clausifier::constant_for(const Term_* t) {
  const Term_* const constant = terms_.make_fresh_variable(".ite", Terms::sort_of(t));
  definitions_.push_back({constant, t, assertion_});
  tasks_.push_back({{t, true}, constant});
  return constant;
}

const Term_* Clausifier::with_arguments_replaced(const Term_* t) {
  std::vector<const Term_*> arguments(t->begin(), t->end());
  for (const Term_*& argument : arguments)
    if (has_case(argument)) argument = replaced_.at(argument);
  return terms_.make_term(t->symbol(), arguments);
}

}  // namespace opal::smt

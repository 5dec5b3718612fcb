// Clauses of formulas.
//
// A formula is true when its clauses are, for the right values of auxiliary variables, each
// of which stands for a sub-formula, and of fresh constants, each of which is an `ite` of
// numbers. Clauses say of an auxiliary variable only what the sub-formula's polarity asks
// for (Tseitin, "On the complexity of derivation in propositional calculus", 1968; Plaisted
// and Greenbaum, "A structure-preserving clause form translation", 1986):
//
//     a or b or (c and d) or (e and f)    {a, b, p, q}  {~p, c}  {~p, d}  {~q, e}  {~q, f}
//     x = ite(c, 1, y)                    {~c, x = 1}  {c, x = y}
//     x + ite(c, 1, y) <= 2               {x + v <= 2}   {~c, v = 1}   {c, v = y}
//
// Chains of `and` and of `or` are taken as one, whatever they are nested like, also through
// negations. In a clause of few literals a conjunction is distributed: a or (b and c) is
// {a, b}, {a, c}. A sub-formula that stands in one place of a chain is part of it; one that
// is shared has a variable of its own, so that the clauses grow with the number of
// different sub-formulas only. Conjunctions on top become separate clauses, disjunctions
// there one.
//
// Auxiliary variables and fresh constants belong to one assertion each, whatever its
// sub-formulas share with others. The atoms are everybody's (atoms.h). Floors in the atoms
// are defined by clauses of the assertion that has them: to_real f <= t < to_real f + 1.
//
// Cost: linear in the number of different sub-formulas, without recursion.

#ifndef OPAL_SMT_CLAUSIFIER_H
#define OPAL_SMT_CLAUSIFIER_H

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/smt/atoms.h"

namespace opal::smt {

/// Clauses one after the other.
class ClauseList {
 public:
  [[nodiscard]] std::size_t size() const { return ends_.size(); }
  [[nodiscard]] sat::LiteralSpan operator[](std::size_t i) const {
    const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
    return {literals_.data() + begin, ends_[i] - begin};
  }
  void add(const std::vector<sat::Literal>& clause) {
    literals_.insert(literals_.end(), clause.begin(), clause.end());
    ends_.push_back(literals_.size());
  }
  void clear() {
    literals_.clear();
    ends_.clear();
  }

 private:
  std::vector<sat::Literal> literals_;
  std::vector<std::size_t> ends_;
};

class Clausifier {
 public:
  /// Keeps references to all of them.
  Clausifier(host::Terms& terms, Atoms& atoms, sat::Search& search)
      : terms_(terms), atoms_(atoms), search_(search) {}

  /// The clauses of a formula, valid until the next call; each has `guard` in it, unless
  /// that is invalid, and may repeat literals. `assertion` is the owner of the auxiliary
  /// variables. Throws host::Unsupported, host::NotLinear, host::LimitReached,
  /// std::bad_alloc: then variables and atoms may have been made, but no definitions.
  const ClauseList& clauses(const Term_* formula, std::uint32_t assertion,
                            sat::Literal guard);
  /// The literal of a formula that is an atom without floors and without `ite`, a Boolean
  /// variable, or the negation of one; an invalid literal for others and for constants.
  [[nodiscard]] sat::Literal literal(const Term_* formula);

  /// What an auxiliary variable stands for; Kind::NONE for other variables.
  [[nodiscard]] resolution::Meaning meaning(sat::Variable variable) const {
    return variable < meanings_.size() ? meanings_[variable] : resolution::Meaning();
  }
  /// The fresh constants that were made for numbers. Their terms have no such constants.
  [[nodiscard]] const std::vector<resolution::Definition>& definitions() const {
    return definitions_;
  }
  /// Forgets the last definitions, those of assertions that are gone.
  void shrink_definitions(std::size_t size) { definitions_.resize(size); }

 private:
  // A formula, which is no negation, or its negation.
  struct Goal {
    const Term_* term = nullptr;
    bool positive = true;
  };
  enum class Shape : std::uint8_t { CONSTANT, LITERAL, CONJUNCTION, DISJUNCTION, GATE };
  // Where a chain goes on into shared parts: on top of the assertion, where each part is
  // asserted once, it does.
  enum class Place : std::uint8_t { TOP, BELOW };
  // What is known of a term in the assertion at hand; out of date with another stamp.
  struct Node {
    std::uint32_t stamp = 0;
    sat::Literal auxiliary;
    std::uint8_t occurrences = 0;  // in other terms; 2 for more
    std::uint8_t defined = 0;      // polarities of which there are clauses, as bits
    std::uint8_t asserted = 0;     // on top, polarities as bits
    std::uint8_t lifted = 0;  // of a number by cases: how often by_cases() has taken it
  };
  // Clauses that are yet to be made: of an auxiliary variable's polarity, or of a number.
  struct Task {
    Goal goal;
    const Term_* constant = nullptr;  // the fresh constant of goal.term
  };

  [[nodiscard]] Goal goal_of(const Term_* formula, bool positive);
  [[nodiscard]] static Shape shape_of(Goal goal);
  [[nodiscard]] static Goal opposite(Goal goal) { return {goal.term, !goal.positive}; }
  static std::uint8_t bit(Goal goal) { return goal.positive ? 1 : 2; }
  Node& node(const Term_* t);

  // clausifier.cpp: chains and clauses
  void begin(std::uint32_t assertion, sat::Literal guard);
  void count_occurrences(const Term_* formula);
  void emit(Goal goal, Place place);
  void emit_operand(Goal goal, Place place);
  void flatten(Goal root, Place place, std::vector<Goal>& operands);
  void emit_disjuncts();
  void distribute(std::size_t conjunction);
  void begin_clause();
  void append_literal(sat::Literal literal);
  void end_clause();
  sat::Literal literal_of(Goal goal);

  // gates.cpp: equivalences, cases, and the numbers in atoms
  void emit_gate(Goal goal);
  void emit_clause_of_two(Goal a, Goal b);
  void emit_number(const Task& task);
  sat::Literal atom_literal(const Term_* atom);
  sat::Literal plain_atom_literal(const Term_* atom);
  [[nodiscard]] bool has_case(const Term_* t);
  const Term_* by_cases(const Term_* t);
  const Term_* without_cases(const Term_* t);
  const Term_* constant_for(const Term_* t);
  const Term_* with_arguments_replaced(const Term_* t);
  void define_floors(const Term_* atom);

  host::Terms& terms_;
  Atoms& atoms_;
  sat::Search& search_;
  std::vector<resolution::Meaning> meanings_;        // by variable
  std::vector<resolution::Definition> definitions_;  // of all assertions
  std::vector<std::uint8_t> has_case_;  // by id of a term: 0 not known, 1 no, 2 yes

  // The assertion at hand.
  std::uint32_t assertion_ = 0;
  sat::Literal level_;  // in every clause, unless invalid
  sat::Literal guard_;  // in every clause of the task at hand, unless invalid
  std::uint32_t stamp_ = 0;
  std::vector<Node> nodes_;  // by id of a term
  std::vector<Task> tasks_;
  std::vector<Goal> stack_;        // of flatten(), empty between calls
  std::vector<Goal> operands_;     // of the conjunction at hand
  std::vector<Goal> disjuncts_;    // of the clause at hand
  std::vector<Goal> distributed_;  // of a conjunction in the clause at hand
  std::vector<sat::Literal> clause_;
  bool clause_is_true_ = false;
  ClauseList clauses_;
  // Terms with `ite` in them, by what without_cases() and by_cases() make of them.
  std::unordered_map<const Term_*, const Term_*> replaced_;
  std::unordered_map<const Term_*, const Term_*> lifted_;
};

}  // namespace opal::smt

#endif

// A formula as a conjunction of atoms.
//
//     (and F G)          F and G                (not (or F G))     not F and not G
//     (or false F)       F                      (ite true F G)     F
//     (= true F)         F                      (not (<= a b))     b < a
//
// Goals, formulas that must hold or must not, wait on a stack. Those that are disjunctions
// for good are refused, unless the whole formula folds to false by the values of its parts
// that do not depend on atoms. Example: (and (or (< 2 1) (<= x 3)) (not (= x 1))) is x <= 3
// and x /= 1, since 2 < 1 is false.
//
// Cost: each formula is taken apart at most once for each sign, and folded at most once.

#include "opal/linear/literals.h"

#include <array>
#include <cassert>
#include <optional>
#include <unordered_map>
#include <utility>

#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"
#include "opal/utils/hash_set.h"

namespace opal::host {

namespace {

bool is_comparison(Kind kind) {
  return kind == Kind::LEQ || kind == Kind::LT || kind == Kind::EQ || kind == Kind::NEQ;
}

bool compares_formulas(const Term_* t) {
  return is_comparison(Terms::kind_of(t)) && Terms::sort_of(t->arg(0)) == Sort::BOOL;
}

bool numerals_compare(const Term_* atom) {
  assert(Terms::is_numeral(atom->arg(0)) && Terms::is_numeral(atom->arg(1)));
  const QNumber& a = Terms::symbol_of(atom->arg(0)).value;
  const QNumber& b = Terms::symbol_of(atom->arg(1)).value;
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ: return a <= b;
    case Kind::LT: return a < b;
    case Kind::EQ: return a == b;
    default: break;
  }
  assert(Terms::kind_of(atom) == Kind::NEQ);
  return a != b;
}

bool is_choice(const Term_* t) {
  return Terms::kind_of(t) == Kind::ITE && Terms::sort_of(t) == Sort::BOOL;
}

using Truth = std::optional<bool>;

// The truth values of formulas that are true, or false, whatever the values of their
// atoms, as far as the connectives and comparisons of numerals show it. Values are kept,
// so that a formula's parts are looked at once.
class Folding {
 public:
  Truth value(const Term_* formula) {
    assert(Terms::sort_of(formula) == Sort::BOOL);
    std::vector<const Term_*> stack{formula};
    while (!stack.empty()) {
      const Term_* t = stack.back();
      const std::size_t below = stack.size();
      if (values_.find(t) == values_.end() && is_connective(t))
        for (const Term_* argument : *t)
          if (values_.find(argument) == values_.end()) stack.push_back(argument);
      if (stack.size() > below) continue;
      stack.pop_back();
      values_.emplace(t, fold(t));
    }
    return values_.at(formula);
  }

 private:
  static bool is_connective(const Term_* t) {
    const Kind kind = Terms::kind_of(t);
    return kind == Kind::NOT || kind == Kind::AND || kind == Kind::OR || is_choice(t) ||
           compares_formulas(t);
  }

  // `t` has its arguments folded.
  Truth fold(const Term_* t) const {
    const auto argument = [&](std::size_t i) { return values_.at(t->arg(i)); };
    switch (Terms::kind_of(t)) {
      case Kind::TRUE: return true;
      case Kind::FALSE: return false;
      case Kind::NOT: return argument(0) ? Truth(!*argument(0)) : std::nullopt;
      case Kind::AND: return fold_connective(argument(0), argument(1), false);
      case Kind::OR: return fold_connective(argument(0), argument(1), true);
      case Kind::ITE: return fold_choice(argument(0), argument(1), argument(2));
      case Kind::LEQ:
      case Kind::LT:
      case Kind::EQ:
      case Kind::NEQ: break;
      default: return std::nullopt;
    }
    if (compares_formulas(t)) {
      const bool equal = Terms::kind_of(t) == Kind::EQ;
      if (t->arg(0) == t->arg(1)) return equal;
      if (!argument(0) || !argument(1)) return std::nullopt;
      return (*argument(0) == *argument(1)) == equal;
    }
    if (Terms::is_numeral(t->arg(0)) && Terms::is_numeral(t->arg(1)))
      return numerals_compare(t);
    return std::nullopt;
  }

  // An operand with the value `decisive` (false for a conjunction) decides the whole.
  static Truth fold_connective(Truth a, Truth b, bool decisive) {
    if (a == decisive || b == decisive) return decisive;
    return a && b ? Truth(!decisive) : std::nullopt;
  }

  // What the condition chooses, or what both cases are.
  static Truth fold_choice(Truth condition, Truth a, Truth b) {
    if (condition) return *condition ? a : b;
    return a == b ? a : std::nullopt;
  }

  std::unordered_map<const Term_*, Truth> values_;
};

// A formula, or its negation.
struct Goal {
  const Term_* formula;
  bool positive;
};

class Decomposition {
 public:
  Decomposition(Terms& terms, const Term_* formula) : terms_(terms), root_(formula) {}

  // To be called once.
  std::vector<const Term_*> atoms() {
    assert(stack_.empty() && atoms_.empty());
    stack_.push_back({root_, true});
    while (!stack_.empty()) {
      const Goal goal = stack_.back();
      stack_.pop_back();
      if (!visited_[goal.positive ? 1 : 0].insert(goal.formula).second) continue;
      if (!step(goal)) return {terms_.false_term()};
    }
    return std::move(atoms_);
  }

 private:
  // False when the whole formula turns out to be false.
  bool step(Goal goal) {
    const Term_* t = goal.formula;
    switch (Terms::kind_of(t)) {
      case Kind::NOT: stack_.push_back({t->arg(0), !goal.positive}); return true;
      case Kind::AND:
      case Kind::OR:
        return (Terms::kind_of(t) == Kind::AND) == goal.positive ? conjunction(goal)
                                                                 : disjunction(goal);
      case Kind::ITE: return choice(goal);
      case Kind::VARIABLE: return refuse("Boolean variable", goal);
      case Kind::CONGRUENCE: t = congruence_equality(terms_, t); break;
      default: break;
    }
    if (compares_formulas(t)) return equivalence(goal);
    add(goal.positive ? t : negated_atom(terms_, t));
    return true;
  }

  // Both operands must hold, or both must not.
  bool conjunction(Goal goal) {
    assert(goal.formula->num_args() == 2);
    stack_.push_back({goal.formula->arg(1), goal.positive});
    stack_.push_back({goal.formula->arg(0), goal.positive});
    return true;
  }

  // One of the operands must hold, or must not; the value of one is known.
  bool disjunction(Goal goal) {
    const Term_* t = goal.formula;
    assert(t->num_args() == 2);
    for (std::size_t i = 0; i < 2; ++i) {
      const Truth value = folding_.value(t->arg(i));
      if (!value) continue;
      if (*value != goal.positive) stack_.push_back({t->arg(1 - i), goal.positive});
      return true;
    }
    return refuse("disjunction", goal);
  }

  // A choice whose condition is true or false.
  bool choice(Goal goal) {
    assert(is_choice(goal.formula));
    const Truth condition = folding_.value(goal.formula->arg(0));
    if (!condition) return refuse("choice", goal);
    stack_.push_back({goal.formula->arg(*condition ? 1 : 2), goal.positive});
    return true;
  }

  // An equality between formulas of which one is true or false.
  bool equivalence(Goal goal) {
    const Term_* t = goal.formula;
    assert(compares_formulas(t));
    const bool equal = (Terms::kind_of(t) == Kind::EQ) == goal.positive;
    if (t->arg(0) == t->arg(1)) return equal;
    for (std::size_t i = 0; i < 2; ++i) {
      const Truth value = folding_.value(t->arg(i));
      if (!value) continue;
      stack_.push_back({t->arg(1 - i), *value == equal});
      return true;
    }
    return refuse("equality of formulas", goal);
  }

  void add(const Term_* atom) {
    assert(Terms::sort_of(atom) == Sort::BOOL && !compares_formulas(atom));
    if (atom == terms_.true_term() || !listed_.insert(atom).second) return;
    atoms_.push_back(atom);
  }

  // A part that cannot be taken apart does no harm where the whole formula folds to false.
  bool refuse(const char* what, Goal goal) {
    if (folding_.value(root_) == false) return false;
    std::string text = term_text(goal.formula);
    if (!goal.positive) text = "(not " + text + ")";
    throw Unsupported(std::string(what) + " is not supported: " + text, goal.formula);
  }

  Terms& terms_;
  const Term_* const root_;
  Folding folding_;
  std::vector<Goal> stack_;
  // Goals that were taken from the stack, by sign: those that must hold are in the second.
  std::array<hsh::HashSet<const Term_*>, 2> visited_;
  std::vector<const Term_*> atoms_;
  hsh::HashSet<const Term_*> listed_;  // the same as a set
};

}  // namespace

std::vector<const Term_*> conjuncts(Terms& terms, const Term_* formula) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  return Decomposition(terms, formula).atoms();
}

const Term_* congruence_equality(Terms& terms, const Term_* congruence) {
  assert(Terms::kind_of(congruence) == Kind::CONGRUENCE);
  const BuildingFlagScope simplified(terms, 1);
  const QNumber modulus = abs(Terms::symbol_of(congruence).value);
  const Term_* const subtrahend =
      terms.make_times(terms.make_number(-1), congruence->arg(1));
  const Term_* const difference = terms.make_plus(congruence->arg(0), subtrahend);
  const Term_* const quotient =
      terms.make_floor(terms.make_times(terms.make_number(modulus.inv()), difference));
  return terms.make_equal(difference,
                          terms.make_times(terms.make_number(modulus), quotient));
}

std::vector<const Term_*> floor_definitions(Terms& terms, const Term_* atom) {
  assert(Terms::sort_of(atom) == Sort::BOOL);
  std::vector<const Term_*> result;
  if (!terms.has_floors()) return result;
  const BuildingFlagScope simplified(terms, 1);
  for (const Term_* t : SubTerms({atom})) {
    if (Terms::kind_of(t) != Kind::FLOOR) continue;
    const Term_* const value = terms.make_to_real(t);
    result.push_back(terms.make_leq(value, t->arg(0)));
    result.push_back(
        terms.make_lt(t->arg(0), terms.make_plus(value, terms.make_number(1))));
  }
  return result;
}

const Term_* negated_atom(Terms& terms, const Term_* atom) {
  assert(!compares_formulas(atom));
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ: return terms.make_lt(atom->arg(1), atom->arg(0));
    case Kind::LT: return terms.make_leq(atom->arg(1), atom->arg(0));
    case Kind::EQ: return terms.make_distinct(atom->arg(0), atom->arg(1));
    case Kind::NEQ: return terms.make_equal(atom->arg(0), atom->arg(1));
    case Kind::TRUE: return terms.false_term();
    default: break;
  }
  assert(Terms::kind_of(atom) == Kind::FALSE);
  return terms.true_term();
}

}  // namespace opal::host

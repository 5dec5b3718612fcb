#ifndef OPAL_TESTS_ENGINE_SMALL_HOST_H
#define OPAL_TESTS_ENGINE_SMALL_HOST_H

// A host just large enough to put every question to the engine: terms that print
// themselves, constraints given as rows, and colours given atom by atom.

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/la/interpolator.h"

namespace opal::small {

using Status = itp::TheoryAtomClassifier::status;
using Args = std::vector<const Term_*>;

struct NamedSymbol : Symbol {
  NamedSymbol(std::size_t arity, std::string n, bool i)
      : Symbol(arity), name(std::move(n)), interpreted(i) {}
  const std::string name;
  const bool interpreted;
  bool is_number = false;
  QNumber value;
};

/// Terms are shared by their text in prefix form; nothing is simplified.
class Terms : public TermManager {
 public:
  Terms() {
    true_ = make("true", {});
    false_ = make("false", {});
  }
  ~Terms() override {
    for (const auto& [key, term] : terms_)
      ::operator delete(const_cast<Term_*>(term));
  }
  const Term_* variable(const std::string& name) { return make(name, {}, false); }
  const Term_* make(const std::string& name, const Args& args, bool interpreted = true) {
    std::string key = name;
    for (const Term_* a : args)
      key += " " + std::to_string(a->id());
    const Term_*& term = terms_[key];
    if (term == nullptr) {
      symbols_.emplace_back(args.size(), name, interpreted);
      void* const memory = ::operator new(Term_::size_of(args.size()));
      term = Term_::construct(memory, terms_.size(), &symbols_.back(), args.data());
    }
    return term;
  }
  /// Sums are built whatever the flag is, as in the integer rules that leave it alone.
  bool any_flag = false;

  static const NamedSymbol& top(const Term_* t) {
    return static_cast<const NamedSymbol&>(*t->symbol());
  }
  static std::string text(const Term_* t) {
    std::string s = top(t).name;
    for (const Term_* a : *t)
      s += " " + text(a);
    return t->num_args() == 0 ? s : "(" + s + ")";
  }

  using TermManager::make_number;
  const Term_* make_number(const QNumber& q) override {
    const Term_* t = make(q.to_str(), {});
    auto& symbol = const_cast<NamedSymbol&>(top(t));
    symbol.is_number = true;
    symbol.value = q;
    return t;
  }
  const Term_* make_plus(const Term_* a, const Term_* b) override {
    if (building_flag() != 0 && !any_flag)
      throw std::logic_error("a sum with simplification allowed");
    return make("+", {a, b});
  }
  const Term_* make_times(const Term_* a, const Term_* b) override {
    return make("*", {a, b});
  }
  const Term_* make_floor(const Term_* t) override { return make("floor", {t}); }
  const Term_* make_leq(const Term_* a, const Term_* b) override {
    return make("<=", {a, b});
  }
  const Term_* make_equal(const Term_* a, const Term_* b) override {
    return make("=", {a, b});
  }
  const Term_* make_int_modular_congruence(const QNumber& m, const Term_* a,
                                           const Term_* b) override {
    return make("mod" + m.to_str(), {a, b});
  }
  const Term_* make_not(const Term_* t) override { return make("not", {t}); }
  const Term_* make_and(const Term_* a, const Term_* b) override {
    return make("and", {a, b});
  }
  const Term_* make_or(const Term_* a, const Term_* b) override {
    return make("or", {a, b});
  }
  const Term_* make_term(const Symbol* s, const Args& args) override {
    return make(static_cast<const NamedSymbol*>(s)->name, args);
  }
  const Symbol* make_equality_symbol(const Type*) override {
    return &symbols_.emplace_back(2, "=", true);
  }
  const Symbol* make_int_modular_congruence_symbol(const QNumber& m) override {
    NamedSymbol& symbol = symbols_.emplace_back(2, "mod" + m.to_str(), true);
    symbol.value = m;
    return &symbol;
  }
  bool is_int_modular_congruence(const Symbol* s, QNumber* m) const override {
    const auto* symbol = static_cast<const NamedSymbol*>(s);
    if (symbol->name.rfind("mod", 0) != 0) return false;
    if (m != nullptr) *m = symbol->value;
    return true;
  }
  bool is_interpreted(const Symbol* s) const override {
    return static_cast<const NamedSymbol*>(s)->interpreted;
  }
  bool is_equality(const Symbol*) const override { return false; }
  bool is_number(const Symbol* s, QNumber* value) const override {
    const auto* symbol = static_cast<const NamedSymbol*>(s);
    if (value != nullptr && symbol->is_number) *value = symbol->value;
    return symbol->is_number;
  }
  int kind(const Symbol*) const override { return 0; }
  void print(std::ostream& out, const Term_* t) const override { out << text(t); }

 private:
  std::unordered_map<std::string, const Term_*> terms_;
  std::deque<NamedSymbol> symbols_;
};

using Row = std::vector<std::pair<int, QNumber>>;  // variable ids with coefficients

/// Constraints are numbered from 0; their atoms are interpreted symbols over the row's
/// variables. Variables are x2, x3, ...; the strictness variable is 1.
class Mapper : public la::ItpLinearTermMapper, public itp::AtomColouring {
 public:
  static constexpr int DELTA = 1;
  static constexpr int ZERO = -1;
  static constexpr int NAMELESS_VARIABLE = 1000000000;

  explicit Mapper(Terms& terms) : terms_(terms) {}

  /// The first id of a variable that is defined by a term; 0 defines none.
  int first_definition = 0;

  /// The id of the constraint row <kind> c, whose atom has the given colour.
  int add(int kind, const Row& row, const QNumber& c, Status colour) {
    const int id = static_cast<int>(constraints_.size());
    la::LinearTerm lt;
    lt.kind = kind;
    lt.constant = c;
    Args args;
    for (const auto& [var, coeff] : row) {
      lt.vars.add_var(coeff, var);
      if (const Term_* t = var_term(var)) args.push_back(t);
    }
    const Term_* atom = terms_.make("c" + std::to_string(id), args);
    constraints_.emplace_back(std::move(lt), atom);
    enter_atom(atom, colour);
    ids_[atom] = id;
    return id;
  }
  /// The id of a branch x <= c or x >= c, whose atom is the one that the engine builds.
  int add_branch(int kind, int var, const QNumber& c, Status colour) {
    const Term_* const sum = terms_.make_plus(
        terms_.make_number(0), terms_.make_times(terms_.make_number(1), var_term(var)));
    const Term_* const bound = terms_.make_number(c);
    enter_atom(kind == la::LinearTerm::LEQ ? terms_.make_leq(sum, bound)
                                           : terms_.make_leq(bound, sum),
               colour);
    return add(kind, {{var, 1}}, c, Status::UNKNOWN);
  }
  /// Terms are coloured by their variables from now on, else they are B's.
  void set_variable_colour(int var, Status s) { variable_colours_[var_term(var)] = s; }
  /// The constraint of the negation of a constraint's literal.
  void set_negation(int id, int negation) { negations_[id] = negation; }
  const Term_* atom(int id) { return constraints_.at(static_cast<std::size_t>(id)).second; }

  la::LinearTerm linear_term(int id) override {
    return constraints_.at(static_cast<std::size_t>(id)).first;
  }
  la::LinearTerm bb_linear_term(TheoryLit, int id) override { return linear_term(id); }
  int lit_constraint(TheoryLit lit) override {
    const int id = ids_.at(lit.atom());
    if (!lit.is_negated()) return id;
    const auto it = negations_.find(id);
    return it == negations_.end() ? 1000 * 1000 * 1000 : it->second;
  }
  TheoryLit constraint_lit(int id) override {
    if (id < 0 || static_cast<std::size_t>(id) >= constraints_.size()) return TheoryLit();
    return TheoryLit(atom(id));
  }
  const Term_* var_term(int var) override {
    if (var >= NAMELESS_VARIABLE) return nullptr;
    const auto index = static_cast<std::size_t>(var);
    if (index >= variables_.size()) variables_.resize(2 * index);
    if (variables_[index] == nullptr)
      variables_[index] = terms_.variable("x" + std::to_string(var));
    return variables_[index];
  }
  int term_var(const Term_*, bool) override { return 0; }
  int atom_constraint(const Term_*) override { return ZERO; }
  int term_def_var(const Term_* t) override {
    if (first_definition == 0) return 0;
    var_term(first_definition);
    auto found = std::find(variables_.begin() + first_definition, variables_.end(), t);
    if (found == variables_.end())
      found = std::find(variables_.begin() + first_definition, variables_.end(), nullptr);
    if (found == variables_.end()) throw std::logic_error("too many definitions");
    *found = t;
    return static_cast<int>(found - variables_.begin());
  }
  int delta_var() override { return DELTA; }
  int zero_constraint() override { return ZERO; }

  Status atom_colour(const Term_* atom) const override {
    return atom->id() < colours_.size() ? colours_[atom->id()] : Status::UNKNOWN;
  }
  Status term_colour(const Term_* t) const override {
    if (variable_colours_.empty()) return Status::B_LOCAL;
    const Status entered = atom_colour(t);
    if (entered != Status::UNKNOWN) return entered;
    if (!Terms::top(t).interpreted) {
      const auto it = variable_colours_.find(t);
      return it == variable_colours_.end() ? Status::UNKNOWN : it->second;
    }
    Status s = Status::SHARED;
    for (const Term_* a : *t) {
      const Status of_a = term_colour(a);
      if (s == Status::SHARED || of_a == Status::UNKNOWN)
        s = of_a;
      else if (of_a != Status::SHARED && of_a != s)
        s = Status::AB_MIXED;
    }
    return s;
  }
  void enter_atom(const Term_* atom, Status colour) override {
    if (atom->id() >= colours_.size()) colours_.resize(2 * atom->id(), Status::UNKNOWN);
    colours_[atom->id()] = colour;
  }

 private:
  Terms& terms_;
  std::deque<std::pair<la::LinearTerm, const Term_*>> constraints_;
  std::vector<Status> colours_;  // by the atom's id
  std::unordered_map<const Term_*, int> ids_;
  std::unordered_map<int, int> negations_;
  std::unordered_map<const Term_*, Status> variable_colours_;
  std::vector<const Term_*> variables_;
};

/// Terms, constraints and a classifier over them.
struct Host {
  Terms terms;
  std::shared_ptr<Mapper> mapper = std::make_shared<Mapper>(terms);
  itp::TheoryAtomClassifier classifier{mapper};
};

/// The engine with its operations and caches in the open.
struct Probe : la::Interpolator {
  explicit Probe(Host& host, Mode mode = MODE_SUM, bool floor_cuts = false)
      : Interpolator(&host.terms, nullptr, host.mapper.get(), mode, floor_cuts) {
    classifier_ = &host.classifier;
  }
  ~Probe() { clear_cache(); }
  using Interpolator::bb_lits_;
  using Interpolator::build_equation;
  using Interpolator::build_laz_leq_pattern;
  using Interpolator::build_laz_mod_eq_pattern;
  using Interpolator::build_laz_mod_eq_term;
  using Interpolator::build_laz_tight_subterm;
  using Interpolator::build_leq_term;
  using Interpolator::build_term_from_eq_list;
  using Interpolator::collect_vars;
  using Interpolator::combine_eq_coeff_lists;
  using Interpolator::find_in_cache;
  using Interpolator::get_as_rhs;
  using Interpolator::get_comb;
  using Interpolator::get_laz_next_tvar_values;
  using Interpolator::get_zero;
  using Interpolator::handle_comb;
  using Interpolator::handle_hyp;
  using Interpolator::handle_tightproof;
  using Interpolator::handle_tightproof_floor;
  using Interpolator::in_laz_bb_;
  using Interpolator::LaZCutValues;
  using Interpolator::LaZModEqPattern;
  using Interpolator::own;
  using Interpolator::owned_eqs_;
  using Interpolator::proof_cache_;
  using Interpolator::side_constraints_;
  using Interpolator::store_in_cache;
  using Interpolator::TermSet;
  using Interpolator::tight_vars_;
  using Interpolator::to_lit;
  using Interpolator::to_visit_;
  using Interpolator::zero_proof_;
};

/// c1 * p1 + c2 * p2; takes over the references, copies the multipliers.
inline proof::Proof* comb(const QNumber* c1, proof::Proof* p1, const QNumber* c2,
                          proof::Proof* p2) {
  auto copy = [](const QNumber* q) { return q == nullptr ? nullptr : new QNumber(*q); };
  return new la::LaComb(copy(c1), p1, copy(c2), p2, 0, 0, 0);
}

/// The value of a linear term, and of a formula as 0 or 1, under the values of variables,
/// to which those of sub-terms are added. Foreign variables and symbols are failures.
inline QNumber evaluate(const Term_* t, std::unordered_map<const Term_*, QNumber>& values) {
  const auto known = values.find(t);
  if (known != values.end()) return known->second;
  const NamedSymbol& top = Terms::top(t);
  if (top.is_number) return top.value;
  if (t->num_args() == 0) {
    if (!top.interpreted) ADD_FAILURE() << "foreign variable " << top.name;
    return top.name == "true" ? 1 : 0;
  }
  const QNumber a = evaluate(t->arg(0), values);
  const QNumber b = t->num_args() == 2 ? evaluate(t->arg(1), values) : QNumber();
  QNumber result;
  if (top.name == "+") {
    result = a + b;
  } else if (top.name == "*" || top.name == "and") {
    result = a * b;
  } else if (top.name == "not") {
    result = a.is_zero() ? 1 : 0;
  } else if (top.name == "or") {
    result = a.is_zero() && b.is_zero() ? 0 : 1;
  } else if (top.name == "<=") {
    result = a <= b ? 1 : 0;
  } else if (top.name == "=") {
    result = a == b ? 1 : 0;
  } else if (top.name == "floor") {
    result = a.floor();
  } else if (top.name.rfind("mod", 0) == 0) {
    result = ((a - b) / QNumber::from_decimal(top.name.substr(3))).is_integer() ? 1 : 0;
  } else {
    ADD_FAILURE() << "unexpected " << top.name;
  }
  return values[t] = result;
}

}  // namespace opal::small

#endif

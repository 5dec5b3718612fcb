#ifndef OPAL_TESTS_ENGINE_SMALL_HOST_H
#define OPAL_TESTS_ENGINE_SMALL_HOST_H

// A host just large enough to put every question to the engine: terms that print
// themselves, constraints given as rows, colours given atom by atom or by variables, and
// short names for nodes of proofs.

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/interfaces/term_printer.h"
#include "opal/la/interpolator.h"

namespace opal::small {

using proof::Proof;
using proof::ProofRef;
using Status = itp::TheoryAtomClassifier::status;
using Term = const Term_*;
using Args = std::vector<Term>;
using Row = std::vector<std::pair<int, QNumber>>;  // variable ids with coefficients

constexpr int LT = 0, LEQ = 1, EQ = 2, NEQ = 3, GEQ = 4, GT = 5;
constexpr auto A = Status::A_LOCAL, B = Status::B_LOCAL, AB = Status::SHARED,
               MIXED = Status::AB_MIXED, UNKNOWN = Status::UNKNOWN;

struct NamedSymbol : Symbol {
  NamedSymbol(std::size_t arity, std::string n, bool i)
      : Symbol(arity), name(std::move(n)), interpreted(i) {}
  const std::string name;
  const bool interpreted;
  std::optional<QNumber> value;  // of a number; the modulus of a congruence
};

/// Writes comments, and formulas as they are.
class PlainPrinter : public TermPrinter {
 public:
  void print_formula(std::ostream& out, Term t) override {
    print_term(out, t);
    out << '\n';
  }
  void print_logic(std::ostream&, Term) override {}
  void print_declarations(std::ostream&, Term) override {}
  void print_symbol(std::ostream&, const Symbol*) override {}
  void print_sort(std::ostream&, Term) override {}
  void print_term(std::ostream& out, Term t) override;
  void print_definition(std::ostream&, const std::string&, Term) override {}
  void print_assertion(std::ostream&, Term) override {}
  void print_comment(std::ostream& out, const std::string& s) override {
    out << "; " << s << '\n';
  }
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
  Term make(const std::string& name, const Args& args, bool interpreted = true) {
    std::string key = name;
    for (Term a : args)
      key += " " + std::to_string(a->id());
    Term& term = terms_[key];
    if (term == nullptr) {
      symbols_.emplace_back(args.size(), name, interpreted);
      void* const memory = ::operator new(Term_::size_of(args.size()));
      term = Term_::construct(memory, terms_.size(), &symbols_.back(), args.data());
    }
    return term;
  }
  /// Sums are built whatever the flag is, as in the integer rules that leave it alone.
  bool any_flag = false;
  /// What the flag allows: t and true is t, and so is t and t.
  bool simplifies = false;

  static const NamedSymbol& named(const Symbol* s) {
    return static_cast<const NamedSymbol&>(*s);
  }
  static std::string text(Term t) {
    std::string s = named(t->symbol()).name;
    for (Term a : *t)
      s += " " + text(a);
    return t->num_args() == 0 ? s : "(" + s + ")";
  }

  using TermManager::make_number;
  Term make_number(const QNumber& q) override {
    Term t = make(q.to_str(), {});
    const_cast<NamedSymbol&>(named(t->symbol())).value = q;
    return t;
  }
  Term make_plus(Term a, Term b) override {
    if (building_flag() != 0 && !any_flag)
      throw std::logic_error("a sum with simplification allowed");
    return make("+", {a, b});
  }
  Term make_times(Term a, Term b) override { return make("*", {a, b}); }
  Term make_floor(Term t) override { return make("floor", {t}); }
  Term make_leq(Term a, Term b) override { return make("<=", {a, b}); }
  Term make_equal(Term a, Term b) override { return make("=", {a, b}); }
  Term make_int_modular_congruence(const QNumber& m, Term a, Term b) override {
    return make_term(make_int_modular_congruence_symbol(m), {a, b});
  }
  Term make_not(Term t) override { return make("not", {t}); }
  Term make_and(Term a, Term b) override {
    const bool is_a = simplifies && building_flag() != 0 && (b == true_ || b == a);
    return is_a ? a : make("and", {a, b});
  }
  Term make_or(Term a, Term b) override { return make("or", {a, b}); }
  Term make_term(const Symbol* s, const Args& args) override {
    return make(named(s).name, args);
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
    if (named(s).name.rfind("mod", 0) != 0) return false;
    if (m != nullptr) *m = *named(s).value;
    return true;
  }
  bool is_interpreted(const Symbol* s) const override { return named(s).interpreted; }
  bool is_equality(const Symbol* s) const override { return named(s).name == "="; }
  bool is_number(const Symbol* s, QNumber* value) const override {
    if (s->arity() != 0 || !named(s).value) return false;
    if (value != nullptr) *value = *named(s).value;
    return true;
  }
  int kind(const Symbol* s) const override {
    return named(s).name == "+" ? KIND_PLUS : named(s).name == "*" ? KIND_TIMES : 0;
  }
  void print(std::ostream& out, Term t) const override { out << text(t); }
  bool prints_scripts = false;
  std::unique_ptr<TermPrinter> make_script_printer(const ScriptStyle& style) override {
    EXPECT_EQ(style.logic, "QF_LRA");
    EXPECT_TRUE(style.declares);
    return prints_scripts ? std::make_unique<PlainPrinter>()
                          : TermManager::make_script_printer(style);
  }

 private:
  std::unordered_map<std::string, Term> terms_;
  std::deque<NamedSymbol> symbols_;
};

inline void PlainPrinter::print_term(std::ostream& out, Term t) { out << Terms::text(t); }

/// Constraints are numbered from 0; their atoms are interpreted symbols over the row's
/// variables. Variables are x2, x3, ...; the strictness variable is 1.
class Mapper : public la::ItpLinearTermMapper, public itp::AtomColouring {
 public:
  static constexpr int DELTA = 1, ZERO = -1, NAMELESS_VARIABLE = 1000000000;
  static constexpr int LAST_NAMED = 21;  // the last variable that a term is found to be

  explicit Mapper(Terms& terms) : terms_(terms) {}

  int first_definition = 0;     // the first id of a variable of a term; 0: there is none
  TheoryLit zero_lit;           // the literal of the zero constraint, which few hosts have
  int branch_terms = 0;         // how often that of a branch was asked for
  int calls_until_failure = 0;  // of look-ups of constraints; 0: none fails

  /// The id of the constraint row <kind> c, whose atom has the given colour.
  int add(int kind, const Row& row, const QNumber& c, Status colour) {
    Args args;
    for (const auto& [var, coeff] : row)
      if (Term t = var_term(var)) args.push_back(t);
    Term atom = terms_.make("c" + std::to_string(last_id() + 1), args);
    enter_atom(atom, colour);
    return enter(kind, row, c, TheoryLit(atom));
  }
  /// The id of an equality with a given atom; that of its negation is the next one.
  int add_equality(Term atom, const Row& row, const QNumber& c) {
    enter(EQ, row, c, TheoryLit(atom));
    return enter(NEQ, row, c, TheoryLit(atom, true)) - 1;
  }
  /// The id of a branch x <= c or x >= c, whose atom is the one that the engine builds.
  int add_branch(int kind, int var, const QNumber& c, Status colour) {
    Term sum = terms_.make_plus(terms_.make_number(0),
                                terms_.make_times(terms_.make_number(1), var_term(var)));
    Term bound = terms_.make_number(c);
    enter_atom(kind == LEQ ? terms_.make_leq(sum, bound) : terms_.make_leq(bound, sum),
               colour);
    return add(kind, {{var, 1}}, c, Status::UNKNOWN);
  }
  /// The id of the inequality that has a given one as its negation.
  int add_negation(int id, Status colour) {
    const la::LinearTerm lt = linear_term(id);
    const Row row(lt.vars.coeffs().begin(), lt.vars.coeffs().end());
    const int result =
        add(lt.kind < 4 ? lt.kind + 4 : lt.kind - 4, row, lt.constant, colour);
    negations_[atom(result)] = id;
    return result;
  }
  /// Terms are coloured by their variables from now on, else they are B's.
  void set_variable_colour(int var, Status s) {
    by_variables_ = true;
    enter_atom(var_term(var), s);
  }
  [[nodiscard]] int last_id() const { return static_cast<int>(constraints_.size()) - 1; }
  Term atom(int id) { return constraints_.at(static_cast<std::size_t>(id)).second.atom(); }

  la::LinearTerm linear_term(int id) override {
    may_fail();
    if (id == ZERO) return {GEQ, {}, 0};
    return constraints_.at(static_cast<std::size_t>(id)).first;
  }
  la::LinearTerm bb_linear_term(TheoryLit, int id) override {
    ++branch_terms;
    return linear_term(id);
  }
  int lit_constraint(TheoryLit lit) override {
    const auto it = negations_.find(lit.atom());
    return lit.is_negated() && it != negations_.end() ? it->second : NAMELESS_VARIABLE;
  }
  TheoryLit constraint_lit(int id) override {
    may_fail();
    if (id == ZERO) return zero_lit;
    const bool known = id >= 0 && id <= last_id();
    return known ? constraints_[static_cast<std::size_t>(id)].second : TheoryLit();
  }
  Term var_term(int var) override {
    if (var >= NAMELESS_VARIABLE) return nullptr;
    Term& term = variable(var);
    if (term == nullptr) term = terms_.make("x" + std::to_string(var), {}, false);
    return term;
  }
  int term_var(Term t, bool make) override {
    for (int v = DELTA + 1; v <= LAST_NAMED; ++v)
      if (var_term(v) == t) return v;
    return make ? term_def_var(t) : 0;
  }
  int atom_constraint(Term atom) override {
    const auto it = equalities_.find(atom);
    return it != equalities_.end() ? it->second : add_equality(atom, {}, 0);
  }
  int term_def_var(Term t) override {
    if (first_definition == 0) return 0;
    int var = first_definition;
    while (variable(var) != nullptr && variable(var) != t)
      ++var;
    variable(var) = t;
    return var;
  }
  int delta_var() override { return DELTA; }
  int zero_constraint() override { return ZERO; }

  Status atom_colour(Term atom) const override {
    return atom->id() < colours_.size() ? colours_[atom->id()] : Status::UNKNOWN;
  }
  Status term_colour(Term t) const override {
    if (!by_variables_) return Status::B_LOCAL;
    const Status entered = atom_colour(t);
    if (entered != Status::UNKNOWN || !Terms::named(t->symbol()).interpreted)
      return entered;
    Status s = Status::SHARED;
    for (Term a : *t) {
      const Status of_a = term_colour(a);
      if (s == Status::SHARED || of_a == Status::UNKNOWN)
        s = of_a;
      else if (of_a != Status::SHARED && of_a != s)
        s = Status::AB_MIXED;
    }
    return s;
  }
  void enter_atom(Term atom, Status colour) override {
    if (atom->id() >= colours_.size()) colours_.resize(2 * atom->id(), Status::UNKNOWN);
    colours_[atom->id()] = colour;
  }

 private:
  int enter(int kind, const Row& row, const QNumber& c, TheoryLit lit) {
    la::LinearTerm lt{kind, {}, c};
    for (const auto& [var, coeff] : row)
      lt.vars.add_var(coeff, var);
    constraints_.emplace_back(std::move(lt), lit);
    if (kind == EQ) equalities_[lit.atom()] = last_id();
    return last_id();
  }
  void may_fail() {
    if (calls_until_failure > 0 && --calls_until_failure == 0)
      throw std::runtime_error("as ordered");
  }
  Term& variable(int var) {
    const auto index = static_cast<std::size_t>(var);
    if (index >= variables_.size()) variables_.resize(2 * index);
    return variables_[index];
  }

  Terms& terms_;
  std::deque<std::pair<la::LinearTerm, TheoryLit>> constraints_;
  std::vector<Status> colours_;  // by the id of an atom, or of a variable
  bool by_variables_ = false;
  std::unordered_map<Term, int> negations_, equalities_;  // ids by atoms
  std::vector<Term> variables_;
};

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
  using Interpolator::build_leq_term;
  using Interpolator::build_term_from_eq_list;
  using Interpolator::collect_vars;
  using Interpolator::combine_eq_coeff_lists;
  using Interpolator::dump_counter_;
  using Interpolator::find_in_cache;
  using Interpolator::get_as_rhs;
  using Interpolator::get_zero;
  using Interpolator::handle_tightproof;
  using Interpolator::handle_tightproof_floor;
  using Interpolator::in_laz_bb_;
  using Interpolator::own;
  using Interpolator::owned_eqs_;
  using Interpolator::proof_cache_;
  using Interpolator::side_constraints_;
  using Interpolator::TermSet;
  using Interpolator::tight_vars_;
  using Interpolator::to_visit_;
  using Interpolator::zero_proof_;
};

// Nodes with one reference. Constructors take over references, and copy multipliers.
inline Proof* hyp(int id, int sign = 0) { return new la::LaHyp(id, sign); }
inline Proof* comb(const QNumber* c1, Proof* p1, const QNumber* c2, Proof* p2) {
  auto copy = [](const QNumber* q) { return q == nullptr ? nullptr : new QNumber(*q); };
  return new la::LaComb(copy(c1), p1, copy(c2), p2, 0, 0, 0);
}
inline Proof* plus(Proof* p, Proof* q) { return comb(nullptr, p, nullptr, q); }
inline Proof* sum(const std::vector<Proof*>& leaves) {
  Proof* result = hyp(Mapper::ZERO);
  for (Proof* leaf : leaves)
    result = plus(result, leaf);
  return result;
}
inline Proof* cases(int id, Proof* p, Proof* q) { return new la::LaNeq(id, p, q); }
inline Proof* implied(int id, Proof* p, int sign = 0) {
  return new la::LaCombImp(id, sign, p);
}
inline Proof* fake(int id, la::Equation e = {}, int sign = 0) {
  return new la::LaFakeHyp(id, sign, new la::Equation(std::move(e)));
}
inline Proof* cut(std::vector<int> ids, std::vector<QNumber> multipliers, long k,
                  int var = 100) {
  return new laz::LaZTighteningProof(std::move(ids), std::move(multipliers), k, var);
}
inline Proof* equalities(std::vector<int> ids, std::vector<QNumber> multipliers) {
  return new laz::LaZEqSubProof(std::move(ids), std::move(multipliers));
}

inline la::Equation row(const Row& coeffs, const QNumber& constant) {
  la::Equation e;
  for (const auto& [var, coeff] : coeffs)
    e.add_var(coeff, var);
  e.add_const(constant);
  return e;
}

/// x2 and x3 are A's, x4 and x5 shared, x6 and x7 B's; x100 and x101 stand for cuts.
struct ColouredHost : Host {
  ColouredHost() {
    terms.any_flag = true;
    mapper->first_definition = 500;
    const Status colours[] = {A, A, AB, AB, B, B};
    for (int v = 2; v < 8; ++v)
      mapper->set_variable_colour(v, colours[v - 2]);
  }
  int add(int kind, const Row& coeffs, const QNumber& c, Status colour) {
    return mapper->add(kind, coeffs, c, colour);
  }
  /// A branch on two constraints of the mapper.
  Proof* branch(Proof* l, Proof* r, int l_id, int r_id) {
    return new laz::LaZInternalBBProof(l, r, l_id, r_id, mapper->linear_term(l_id),
                                       mapper->linear_term(r_id));
  }
  std::string interpolant(Proof* proof, bool floor_cuts = false,
                          Probe::Mode mode = Probe::MODE_SUM) {
    const ProofRef root(proof);
    Probe probe(*this, mode, floor_cuts);
    const std::string text = Terms::text(probe.get_interpolant(&classifier, root.get()));
    EXPECT_TRUE(probe.tight_vars_.empty() && probe.side_constraints_.empty());
    EXPECT_TRUE(probe.owned_eqs_.empty() && probe.proof_cache_.empty());
    return text;
  }
};

/// The value of a linear term, and of a formula as 0 or 1, under the values of variables,
/// to which those of sub-terms are added. Foreign variables and symbols are failures.
inline QNumber evaluate(Term t, std::unordered_map<Term, QNumber>& values) {
  const auto known = values.find(t);
  if (known != values.end()) return known->second;
  const NamedSymbol& top = Terms::named(t->symbol());
  const std::string& f = top.name;
  auto truth = [](bool holds) { return QNumber(holds ? 1 : 0); };
  if (t->num_args() == 0) {
    if (top.value) return *top.value;
    if (!top.interpreted) ADD_FAILURE() << "foreign variable " << f;
    return truth(f == "true");
  }
  const QNumber a = evaluate(t->arg(0), values);
  const QNumber b = t->num_args() == 2 ? evaluate(t->arg(1), values) : QNumber();
  if (f == "+") return values[t] = a + b;
  if (f == "*" || f == "and") return values[t] = a * b;
  if (f == "not") return values[t] = truth(a.is_zero());
  if (f == "or") return values[t] = truth(!a.is_zero() || !b.is_zero());
  if (f == "<=") return values[t] = truth(a <= b);
  if (f == "=") return values[t] = truth(a == b);
  if (f == "floor") return values[t] = a.floor();
  if (f.rfind("mod", 0) != 0) ADD_FAILURE() << "unexpected " << f;
  return values[t] = truth(((a - b) / QNumber::from_decimal(f.substr(3))).is_integer());
}

}  // namespace opal::small

#endif

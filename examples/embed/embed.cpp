// The smallest host of the engine: terms, a mapper and colours for one problem, a proof
// written by hand, and its interpolant.
//
//     A:  x <= y,  y <= 3        B:  x >= 5
//
// Build it against an installed Opal with
//     g++ -std=c++17 embed.cpp $(pkg-config --cflags --libs opal)

#include <deque>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "opal/la/interpolator.h"

using opal::QNumber;
using opal::Symbol;
using opal::Term_;
using opal::TheoryLit;
namespace la = opal::la;
using Status = opal::itp::TheoryAtomClassifier::status;

// A symbol is a name; variables are what the engine calls uninterpreted.
struct Name : Symbol {
  Name(const std::string& t, std::size_t arity, bool v)
      : Symbol(arity), text(t), is_variable(v) {}
  const std::string text;
  const bool is_variable;
};

const Name& name_of(const Symbol* s) { return static_cast<const Name&>(*s); }

// Terms are found again by their text, so equal constructions give one pointer.
class Terms : public opal::TermManager {
 public:
  Terms() {
    true_ = make("true", {});
    false_ = make("false", {});
  }
  const Term_* make(const std::string& top, const std::vector<const Term_*>& args,
                    bool is_variable = false) {
    std::string text = top;
    if (args.size() == 1) text = top + "(" + text_of(args[0]) + ")";
    if (args.size() == 2)
      text = "(" + text_of(args[0]) + " " + top + " " + text_of(args[1]) + ")";
    const Term_*& term = by_text_[text];
    if (term != nullptr) return term;
    symbols_.emplace_back(top, args.size(), is_variable);
    memory_.emplace_back(new char[Term_::size_of(args.size())]);
    term = Term_::construct(memory_.back().get(), texts_.size(), &symbols_.back(),
                            args.data());
    texts_.push_back(text);
    return term;
  }
  const std::string& text_of(const Term_* t) const { return texts_[t->id()]; }

  using TermManager::make_number;
  const Term_* make_number(const QNumber& q) override { return make(q.to_str(), {}); }
  const Term_* make_plus(const Term_* a, const Term_* b) override {
    return make("+", {a, b});
  }
  const Term_* make_times(const Term_* a, const Term_* b) override {
    return make("*", {a, b});
  }
  const Term_* make_leq(const Term_* a, const Term_* b) override {
    return make("<=", {a, b});
  }
  const Term_* make_equal(const Term_* a, const Term_* b) override {
    return make("=", {a, b});
  }
  const Term_* make_not(const Term_* t) override { return make("not", {t}); }
  const Term_* make_and(const Term_* a, const Term_* b) override {
    return make("and", {a, b});
  }
  const Term_* make_or(const Term_* a, const Term_* b) override {
    return make("or", {a, b});
  }
  bool is_interpreted(const Symbol* s) const override { return !name_of(s).is_variable; }
  void print(std::ostream& out, const Term_* t) const override { out << text_of(t); }

  // Rational proofs need none of the following.
  const Term_* make_floor(const Term_*) override { integers_only(); }
  const Term_* make_int_modular_congruence(const QNumber&, const Term_*,
                                           const Term_*) override {
    integers_only();
  }
  const Term_* make_term(const Symbol*, const std::vector<const Term_*>&) override {
    integers_only();
  }
  const Symbol* make_equality_symbol(const opal::Type*) override { integers_only(); }
  const Symbol* make_int_modular_congruence_symbol(const QNumber&) override {
    integers_only();
  }
  bool is_int_modular_congruence(const Symbol*, QNumber*) const override {
    integers_only();
  }
  bool is_equality(const Symbol*) const override { integers_only(); }
  bool is_number(const Symbol*, QNumber*) const override { integers_only(); }
  int kind(const Symbol*) const override { integers_only(); }

 private:
  [[noreturn]] static void integers_only() { throw std::logic_error("rationals only"); }

  std::map<std::string, const Term_*> by_text_;
  std::vector<std::string> texts_;  // by the term's id
  std::deque<Name> symbols_;
  std::vector<std::unique_ptr<char[]>> memory_;
};

// The ids of the problem: constraint i is constraints_[i], variable 1 says "strictly", and
// 2, 3, ... are the variables. The zero constraint is -1.
class Mapper : public la::ItpLinearTermMapper {
 public:
  explicit Mapper(Terms& terms) : terms_(terms) {}
  int add(la::LinearTerm constraint, const Term_* atom) {
    constraints_.push_back(std::move(constraint));
    atoms_.push_back(atom);
    return static_cast<int>(atoms_.size()) - 1;
  }
  la::LinearTerm linear_term(int id) override { return constraints_.at(index(id)); }
  TheoryLit constraint_lit(int id) override {
    return index(id) < atoms_.size() ? TheoryLit(atoms_[index(id)]) : TheoryLit();
  }
  const Term_* var_term(int var) override {
    return terms_.make(std::string(1, static_cast<char>('x' + var - 2)), {}, true);
  }
  int delta_var() override { return 1; }
  int zero_constraint() override { return -1; }

  // For implications, branches, cuts and splits, which this host has not.
  la::LinearTerm bb_linear_term(TheoryLit, int id) override { return linear_term(id); }
  int lit_constraint(TheoryLit) override { return 0; }
  int term_var(const Term_*, bool) override { return 0; }
  int atom_constraint(const Term_*) override { return 0; }
  int term_def_var(const Term_*) override { return 0; }

 private:
  static std::size_t index(int id) { return static_cast<std::size_t>(id); }

  Terms& terms_;
  std::vector<la::LinearTerm> constraints_;
  std::vector<const Term_*> atoms_;
};

// The partition: which side asserted which atom.
class Colours : public opal::itp::AtomColouring {
 public:
  Status atom_colour(const Term_* atom) const override {
    const auto it = colours_.find(atom);
    return it == colours_.end() ? Status::UNKNOWN : it->second;
  }
  Status term_colour(const Term_* t) const override { return atom_colour(t); }
  void enter_atom(const Term_* atom, Status colour) override { colours_[atom] = colour; }

 private:
  std::map<const Term_*, Status> colours_;
};

int main() {
  Terms terms;
  Mapper mapper(terms);
  const auto colours = std::make_shared<Colours>();
  opal::itp::TheoryAtomClassifier classifier(colours);

  // The constraints, as sums over variables 2 (x) and 3 (y), and the atoms they stand for.
  const Term_* const x = mapper.var_term(2);
  const Term_* const y = mapper.var_term(3);
  auto sum = [](long cx, long cy) {
    la::Equation e;
    e.add_var(cx, 2);
    e.add_var(cy, 3);
    return e;
  };
  const Term_* const x_leq_y = terms.make_leq(x, y);
  const Term_* const y_leq_3 = terms.make_leq(y, terms.make_number(3));
  const Term_* const x_geq_5 = terms.make_leq(terms.make_number(5), x);
  const int c1 = mapper.add({la::LinearTerm::LEQ, sum(1, -1), 0}, x_leq_y);
  const int c2 = mapper.add({la::LinearTerm::LEQ, sum(0, 1), 3}, y_leq_3);
  const int c3 = mapper.add({la::LinearTerm::GEQ, sum(1, 0), 5}, x_geq_5);
  classifier.add_A_atom(x_leq_y);
  classifier.add_A_atom(y_leq_3);
  classifier.add_B_atom(x_geq_5);

  // (y - x) + (3 - y) + (x - 5) = -2 >= 0 is the contradiction: every multiplier is one,
  // which a null pointer says. Each node takes over the references to its premises.
  auto comb = [](opal::proof::Proof* p, opal::proof::Proof* q) {
    return new la::LaComb(nullptr, p, nullptr, q, 0, 0, 0);
  };
  const opal::proof::ProofRef proof(
      comb(comb(new la::LaHyp(c1, 0), new la::LaHyp(c2, 0)), new la::LaHyp(c3, 0)));

  la::Interpolator interpolator(&terms, nullptr, &mapper, la::Interpolator::MODE_SUM,
                                false);
  const Term_* const i = interpolator.get_interpolant(&classifier, proof.get());
  std::cout << opal::outterm(&terms, i) << '\n';
}

#include "opal/session/expression.h"

#include <cassert>
#include <optional>
#include <ostream>
#include <utility>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

// How much of an operand a message shows.
constexpr std::size_t BRIEF = 200;

// The operands of an operation as terms of one manager.
struct Pair {
  Terms& terms;
  const Term_* a;
  const Term_* b;
};

bool is_number(const Term_* t) { return Terms::is_numeral(t); }

void need_number(const Expr& e, const char* operation) {
  if (!e.is_formula()) return;
  throw ExpressionError(std::string("an operand of ") + operation +
                        " is a formula: " + e.to_string(BRIEF));
}

void need_formula(const Expr& e, const char* operation) {
  if (e.is_formula()) return;
  throw ExpressionError(std::string("an operand of ") + operation +
                        " is no formula: " + e.to_string(BRIEF));
}

// Two numbers of one sort. A numeral fits, whatever its sort.
Pair numbers(Terms& terms, const Expr& left, const Expr& right, const char* operation) {
  need_number(left, operation);
  need_number(right, operation);
  const Term_* a = left.term_in(terms);
  const Term_* b = right.term_in(terms);
  const Sort sort_a = Terms::sort_of(a), sort_b = Terms::sort_of(b);
  if (sort_a == Sort::INT && sort_b == Sort::REAL) a = terms.make_to_real(a);
  if (sort_b == Sort::INT && sort_a == Sort::REAL) b = terms.make_to_real(b);
  return {terms, a, b};
}

// The manager of the operand that has one.
Terms& one_of(Terms* of_a, Terms* of_b) {
  assert(of_a != nullptr || of_b != nullptr);
  return of_a != nullptr ? *of_a : *of_b;
}

}  // namespace

bool Expr::is_formula() const {
  return terms_ == nullptr ? is_truth_ : Terms::sort_of(term_) == Sort::BOOL;
}

bool Expr::is_free_truth(bool value) const {
  return terms_ == nullptr && is_truth_ && number_.is_zero() != value;
}

const Term_* Expr::term_in(Terms& terms) const {
  if (terms_ == nullptr) {
    if (!is_truth_) return terms.make_number(number_);
    return is_free_truth(true) ? terms.true_term() : terms.false_term();
  }
  if (terms_ != &terms)
    throw ExpressionError("an expression of another session: " + to_string());
  return term_;
}

std::string Expr::to_string(std::size_t limit) const {
  if (terms_ != nullptr) return term_text(term_, limit);
  if (is_truth_) return is_free_truth(true) ? "true" : "false";
  return number_.to_str();
}

Expr operator+(const Expr& a, const Expr& b) {
  need_number(a, "+");
  need_number(b, "+");
  if (a.is_free() && b.is_free()) return a.number_ + b.number_;
  const Pair p = numbers(one_of(a.terms_, b.terms_), a, b, "+");
  return {p.terms, p.terms.make_plus(p.a, p.b)};
}

Expr operator-(const Expr& a, const Expr& b) {
  need_number(a, "-");
  need_number(b, "-");
  return a + -b;
}

Expr operator*(const Expr& a, const Expr& b) {
  need_number(a, "*");
  need_number(b, "*");
  if (a.is_free() && b.is_free()) return a.number_ * b.number_;
  const Pair p = numbers(one_of(a.terms_, b.terms_), a, b, "*");
  if (is_number(p.a)) return {p.terms, p.terms.make_times(p.a, p.b)};
  if (is_number(p.b)) return {p.terms, p.terms.make_times(p.b, p.a)};
  throw ExpressionError("a product of two terms is not linear: " + term_text(p.a, BRIEF) +
                        " times " + term_text(p.b, BRIEF));
}

Expr operator/(const Expr& a, const Expr& b) {
  need_number(a, "/");
  need_number(b, "/");
  std::optional<QNumber> divisor;
  if (b.is_free())
    divisor = b.number_;
  else if (is_number(b.term_))
    divisor = Terms::symbol_of(b.term_).value;
  if (!divisor)
    throw ExpressionError("a division by a term is not linear: by " + b.to_string());
  if (divisor->is_zero()) throw ExpressionError("a division by zero: " + a.to_string());
  return a * Expr(divisor->inv());
}

Expr operator-(const Expr& a) {
  need_number(a, "-");
  return Expr(-1) * a;
}

Expr floor(const Expr& a) {
  need_number(a, "floor");
  if (a.is_free()) return a.number_.floor();
  return {*a.terms_, a.terms_->make_floor(a.term_)};
}

namespace {

// A relation of numbers needs a session for its answer, and so an operand that has one.
Terms& terms_of_one(const Expr& a, const Expr& b, Terms* of_a, Terms* of_b) {
  if (of_a != nullptr || of_b != nullptr) return one_of(of_a, of_b);
  throw ExpressionError("a comparison of two numbers: " + a.to_string() + " and " +
                        b.to_string());
}

// Whether both operands are formulas, and not numbers.
bool are_formulas(const Expr& a, const Expr& b, const char* operation) {
  if (a.is_formula() == b.is_formula()) return a.is_formula();
  throw ExpressionError(std::string("of the operands of ") + operation +
                        " one is a formula and one is a number: " + a.to_string(BRIEF) +
                        " and " + b.to_string(BRIEF));
}

}  // namespace

Expr operator<=(const Expr& a, const Expr& b) {
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "<=");
  return {p.terms, p.terms.make_leq(p.a, p.b)};
}

Expr operator<(const Expr& a, const Expr& b) {
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "<");
  return {p.terms, p.terms.make_lt(p.a, p.b)};
}

Expr operator==(const Expr& a, const Expr& b) {
  if (are_formulas(a, b, "==")) {
    if (a.is_free()) return a.is_free_truth(true) ? b : !b;
    if (b.is_free()) return b.is_free_truth(true) ? a : !a;
    Terms& terms = *a.terms_;
    return {terms, terms.make_equal(a.term_, b.term_in(terms))};
  }
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "==");
  return {p.terms, p.terms.make_equal(p.a, p.b)};
}

Expr operator!=(const Expr& a, const Expr& b) {
  if (are_formulas(a, b, "!=")) {
    if (a.is_free() || b.is_free()) return !(a == b);
    Terms& terms = *a.terms_;
    return {terms, terms.make_distinct(a.term_, b.term_in(terms))};
  }
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "!=");
  return {p.terms, p.terms.make_distinct(p.a, p.b)};
}

Expr congruent(const Expr& a, const Expr& b, const QNumber& m) {
  if (m.sign() <= 0 || !m.is_integer())
    throw ExpressionError("a modulus is an integer above 0, not " + m.to_str());
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "a congruence");
  for (const Term_* t : {p.a, p.b}) {
    if (Terms::sort_of(t) == Sort::INT) continue;
    throw ExpressionError("a congruence is of integers: " + term_text(t, BRIEF));
  }
  return {p.terms, p.terms.make_int_modular_congruence(m, p.a, p.b)};
}

// A free constant decides a connective or is its neutral element, so that a connective of
// two constants needs no session.

Expr operator&&(const Expr& a, const Expr& b) {
  need_formula(a, "&&");
  need_formula(b, "&&");
  if (a.is_free()) return a.is_free_truth(true) ? b : a;
  if (b.is_free()) return b.is_free_truth(true) ? a : b;
  Terms& terms = *a.terms_;
  return {terms, terms.make_and(a.term_, b.term_in(terms))};
}

Expr operator||(const Expr& a, const Expr& b) {
  need_formula(a, "||");
  need_formula(b, "||");
  if (a.is_free()) return a.is_free_truth(true) ? a : b;
  if (b.is_free()) return b.is_free_truth(true) ? b : a;
  Terms& terms = *a.terms_;
  return {terms, terms.make_or(a.term_, b.term_in(terms))};
}

Expr operator!(const Expr& a) {
  if (!a.is_formula())
    throw ExpressionError("the operand of ! is no formula: " + a.to_string(BRIEF));
  if (a.is_free()) return a.is_free_truth(false);
  return {*a.terms_, a.terms_->make_not(a.term_)};
}

Expr implies(const Expr& a, const Expr& b) {
  need_formula(a, "an implication");
  need_formula(b, "an implication");
  return !a || b;
}

Expr ite(const Expr& condition, const Expr& a, const Expr& b) {
  if (!condition.is_formula())
    throw ExpressionError("the condition of a choice is no formula: " +
                          condition.to_string(BRIEF));
  const bool of_formulas = are_formulas(a, b, "a choice");
  if (condition.is_free()) return condition.is_free_truth(true) ? a : b;
  Terms& terms = *condition.terms_;
  const Pair p = of_formulas ? Pair{terms, a.term_in(terms), b.term_in(terms)}
                             : numbers(terms, a, b, "a choice");
  return {terms, terms.make_ite(condition.term_, p.a, p.b)};
}

std::ostream& operator<<(std::ostream& out, const Expr& e) {
  if (e.is_free()) return out << e.to_string();
  print_term(out, e.term_);
  return out;
}

}  // namespace opal::host

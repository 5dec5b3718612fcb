#include "opal/session/expression.h"

#include <optional>
#include <ostream>
#include <utility>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

// The operands of an operation as terms of one manager.
struct Pair {
  Terms& terms;
  const Term_* a;
  const Term_* b;
};

bool is_number(const Term_* t) { return Terms::is_numeral(t); }

void need_number(const Term_* t, const char* operation) {
  if (Terms::sort_of(t) != Sort::BOOL) return;
  throw ExpressionError(std::string("an operand of ") + operation +
                        " is a formula: " + term_text(t, 200));
}

void need_formula(const Term_* t, const char* operation) {
  if (Terms::sort_of(t) == Sort::BOOL) return;
  throw ExpressionError(std::string("an operand of ") + operation +
                        " is no formula: " + term_text(t, 200));
}

// Two numbers of one sort. A numeral fits, whatever its sort.
Pair numbers(Terms& terms, const Expr& left, const Expr& right, const char* operation) {
  const Term_* a = left.term_in(terms);
  const Term_* b = right.term_in(terms);
  need_number(a, operation);
  need_number(b, operation);
  const Sort sort_a = Terms::sort_of(a), sort_b = Terms::sort_of(b);
  if (sort_a == Sort::INT && sort_b == Sort::REAL) a = terms.make_to_real(a);
  if (sort_b == Sort::INT && sort_a == Sort::REAL) b = terms.make_to_real(b);
  return {terms, a, b};
}

}  // namespace

bool Expr::is_formula() const {
  return terms_ != nullptr && Terms::sort_of(term_) == Sort::BOOL;
}

const Term_* Expr::term_in(Terms& terms) const {
  if (terms_ == nullptr) return terms.make_number(number_);
  if (terms_ != &terms)
    throw ExpressionError("an expression of another session: " + to_string());
  return term_;
}

std::string Expr::to_string() const {
  return terms_ == nullptr ? number_.to_str() : term_text(term_);
}

Expr operator+(const Expr& a, const Expr& b) {
  if (a.is_free_number() && b.is_free_number()) return a.number_ + b.number_;
  const Pair p = numbers(a.terms_ != nullptr ? *a.terms_ : *b.terms_, a, b, "+");
  return {p.terms, p.terms.make_plus(p.a, p.b)};
}

Expr operator-(const Expr& a, const Expr& b) { return a + -b; }

Expr operator*(const Expr& a, const Expr& b) {
  if (a.is_free_number() && b.is_free_number()) return a.number_ * b.number_;
  const Pair p = numbers(a.terms_ != nullptr ? *a.terms_ : *b.terms_, a, b, "*");
  if (is_number(p.a)) return {p.terms, p.terms.make_times(p.a, p.b)};
  if (is_number(p.b)) return {p.terms, p.terms.make_times(p.b, p.a)};
  throw ExpressionError("a product of two terms is not linear: " + term_text(p.a, 200) +
                        " times " + term_text(p.b, 200));
}

Expr operator/(const Expr& a, const Expr& b) {
  std::optional<QNumber> divisor;
  if (b.is_free_number())
    divisor = b.number_;
  else if (is_number(b.term_))
    divisor = Terms::symbol_of(b.term_).value;
  if (!divisor)
    throw ExpressionError("a division by a term is not linear: by " + b.to_string());
  if (divisor->is_zero()) throw ExpressionError("a division by zero: " + a.to_string());
  return a * Expr(divisor->inv());
}

Expr operator-(const Expr& a) { return Expr(-1) * a; }

Expr floor(const Expr& a) {
  if (a.is_free_number()) return a.number_.floor();
  need_number(a.term_, "floor");
  return {*a.terms_, a.terms_->make_floor(a.term_)};
}

namespace {

// A relation needs a session for its answer, and so an operand that has one.
Terms& terms_of_one(const Expr& a, const Expr& b, Terms* of_a, Terms* of_b) {
  if (of_a != nullptr) return *of_a;
  if (of_b != nullptr) return *of_b;
  throw ExpressionError("a comparison of two numbers: " + a.to_string() + " and " +
                        b.to_string());
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
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "==");
  return {p.terms, p.terms.make_equal(p.a, p.b)};
}

Expr operator!=(const Expr& a, const Expr& b) {
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "!=");
  return {p.terms, p.terms.make_distinct(p.a, p.b)};
}

Expr congruent(const Expr& a, const Expr& b, const QNumber& m) {
  if (m.sign() <= 0 || !m.is_integer())
    throw ExpressionError("a modulus is an integer above 0, not " + m.to_str());
  const Pair p = numbers(terms_of_one(a, b, a.terms_, b.terms_), a, b, "a congruence");
  for (const Term_* t : {p.a, p.b}) {
    if (Terms::sort_of(t) == Sort::INT) continue;
    throw ExpressionError("a congruence is of integers: " + term_text(t, 200));
  }
  return {p.terms, p.terms.make_int_modular_congruence(m, p.a, p.b)};
}

Expr operator&&(const Expr& a, const Expr& b) {
  for (const Expr& e : {a, b})
    if (e.is_free_number())
      throw ExpressionError("an operand of && is no formula: " + e.to_string());
  Terms& terms = *a.terms_;
  need_formula(a.term_, "&&");
  const Term_* const right = b.term_in(terms);
  need_formula(right, "&&");
  return {terms, terms.make_and(a.term_, right)};
}

Expr operator!(const Expr& a) {
  if (a.is_free_number())
    throw ExpressionError("the operand of ! is no formula: " + a.to_string());
  need_formula(a.term_, "!");
  return {*a.terms_, a.terms_->make_not(a.term_)};
}

std::ostream& operator<<(std::ostream& out, const Expr& e) {
  if (e.is_free_number()) return out << e.number_;
  print_term(out, e.term_);
  return out;
}

}  // namespace opal::host

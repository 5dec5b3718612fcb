#ifndef OPAL_SESSION_EXPRESSION_H
#define OPAL_SESSION_EXPRESSION_H

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "opal/terms/terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// An expression that means nothing, or nothing linear; what() says which and why.
class ExpressionError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// A number or a formula: a term of a session, or a constant. Numbers have the operators of
/// arithmetic, comparisons make formulas, and formulas have the connectives.
///
///     Expr x = session.declare("x", Sort::REAL), y = session.declare("y", Sort::INT);
///     Expr p = session.declare("p", Sort::BOOL);
///     Expr f = 2 * x - y / 3 <= 7 && x != y;
///     Expr g = implies(p, f) || ite(p, x, 0) > 3 || p == (x < y);
///
/// A number fits any sort; an Int next to a Real is read as a Real. An expression is a
/// small value that stays valid as long as its session. `&&` and `||` evaluate both sides,
/// as overloaded operators do. Operations throw ExpressionError for formulas in the place
/// of numbers or the reverse, for a product of two terms that are not numbers, for a
/// division by zero or by a term, and for terms of two sessions.
class Expr {
 public:
  /// A number; true or false for a bool.
  template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
  Expr(Integer n)
      : number_(static_cast<long>(n)), is_truth_(std::is_same_v<Integer, bool>) {}
  Expr(const QNumber& number) : number_(number) {}
  /// A term of a manager, which must outlive the expression.
  Expr(Terms& terms, const Term_* term) : terms_(&terms), term_(term) {}

  /// Whether this is a constant that belongs to no session yet.
  [[nodiscard]] bool is_free() const { return terms_ == nullptr; }
  [[nodiscard]] bool is_formula() const;
  /// The term of a manager that this is; a free number becomes a numeral. Throws
  /// ExpressionError for a term of another manager.
  [[nodiscard]] const Term_* term_in(Terms& terms) const;
  /// As SMT-LIB text, cut at about `limit` characters with "..." when longer.
  [[nodiscard]] std::string to_string(std::size_t limit = 1000) const;

  friend Expr operator+(const Expr& a, const Expr& b);
  friend Expr operator-(const Expr& a, const Expr& b);
  friend Expr operator*(const Expr& a, const Expr& b);
  friend Expr operator/(const Expr& a, const Expr& b);
  friend Expr operator-(const Expr& a);
  /// The greatest integer that is not above a number.
  friend Expr floor(const Expr& a);

  friend Expr operator<=(const Expr& a, const Expr& b);
  friend Expr operator<(const Expr& a, const Expr& b);
  friend Expr operator>=(const Expr& a, const Expr& b) { return b <= a; }
  friend Expr operator>(const Expr& a, const Expr& b) { return b < a; }
  /// Of two numbers, or of two formulas: whether both hold or neither does.
  friend Expr operator==(const Expr& a, const Expr& b);
  friend Expr operator!=(const Expr& a, const Expr& b);
  /// Whether m, an integer above 0, divides the difference of two integers.
  friend Expr congruent(const Expr& a, const Expr& b, const QNumber& m);

  friend Expr operator&&(const Expr& a, const Expr& b);
  friend Expr operator||(const Expr& a, const Expr& b);
  friend Expr operator!(const Expr& a);
  /// `!a || b`
  friend Expr implies(const Expr& a, const Expr& b);
  /// `a` where the condition holds, else `b`: two numbers, or two formulas.
  friend Expr ite(const Expr& condition, const Expr& a, const Expr& b);

  friend std::ostream& operator<<(std::ostream& out, const Expr& e);

 private:
  /// Whether this is the free constant of a truth value.
  [[nodiscard]] bool is_free_truth(bool value) const;

  Terms* terms_ = nullptr;
  const Term_* term_ = nullptr;
  QNumber number_;         // of a constant that is free: its value, 1 or 0 of a truth
  bool is_truth_ = false;  // of a constant that is free: true or false
};

}  // namespace opal::host

#endif

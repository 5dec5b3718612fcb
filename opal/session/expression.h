#ifndef OPAL_SESSION_EXPRESSION_H
#define OPAL_SESSION_EXPRESSION_H

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

/// A term of a session, or a number, with the operators of arithmetic; comparisons make
/// formulas.
///
///     Expr x = session.declare("x", Sort::REAL), y = session.declare("y", Sort::INT);
///     Expr f = 2 * x - y / 3 <= 7 && x != y;
///
/// A number fits any sort; an Int next to a Real is read as a Real. An expression is a
/// small value that stays valid as long as its session. `&&` evaluates both sides, as
/// overloaded operators do. Operations throw ExpressionError for formulas in the place of
/// numbers or the reverse, for a product of two terms that are not numbers, for a division
/// by zero or by a term, and for terms of two sessions.
class Expr {
 public:
  /// A number.
  template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer> &&
                                                    !std::is_same_v<Integer, bool>>>
  Expr(Integer n) : number_(static_cast<long>(n)) {}
  Expr(const QNumber& number) : number_(number) {}
  /// A term of a manager, which must outlive the expression.
  Expr(Terms& terms, const Term_* term) : terms_(&terms), term_(term) {}

  /// Whether this is a number that belongs to no session yet.
  [[nodiscard]] bool is_free_number() const { return terms_ == nullptr; }
  [[nodiscard]] bool is_formula() const;
  /// The term of a manager that this is; a free number becomes a numeral. Throws
  /// ExpressionError for a term of another manager.
  [[nodiscard]] const Term_* term_in(Terms& terms) const;
  /// As SMT-LIB text.
  [[nodiscard]] std::string to_string() const;

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
  friend Expr operator==(const Expr& a, const Expr& b);
  friend Expr operator!=(const Expr& a, const Expr& b);
  /// Whether m, an integer above 0, divides the difference of two integers.
  friend Expr congruent(const Expr& a, const Expr& b, const QNumber& m);

  friend Expr operator&&(const Expr& a, const Expr& b);
  friend Expr operator!(const Expr& a);

  friend std::ostream& operator<<(std::ostream& out, const Expr& e);

 private:
  Terms* terms_ = nullptr;
  const Term_* term_ = nullptr;
  QNumber number_;  // of a free number
};

}  // namespace opal::host

#endif

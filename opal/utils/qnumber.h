#ifndef OPAL_UTILS_QNUMBER_H
#define OPAL_UTILS_QNUMBER_H

// The numbers of the whole system.

#include <gmpxx.h>

#include <cassert>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "opal/utils/word_arithmetic.h"

namespace opal {

/// An exact rational number.
///
///     QNumber x = QNumber(1) / QNumber(3);
///     x += QNumber(1);                      // 4/3
///
/// It has one of two forms:
///
///     small:  num_ = the numerator          den_ = the denominator, > 0
///     big:    num_ = address of a pair      den_ = 0
///             of GMP integers, owned
///
/// In both, the numerator and the denominator are coprime, the denominator is positive,
/// and zero is 0/1; the small form has words of -(2^63-1) to 2^63-1 only. The small form
/// never allocates. A number becomes big when an intermediate result is not a word, and
/// then remains big however small its value gets: the form never changes what a number
/// means, and a variable that needed room once is likely to need it again. (The one
/// exception: a big fraction times a small zero is small. shrink() brings a number back.)
///
/// Every operation accepts its operands in any form and aliased in any way. The divisor
/// of a division must not be 0.
class QNumber {
 public:
  constexpr QNumber() noexcept : num_(0), den_(1) {}
  constexpr QNumber(long n) : num_(n), den_(1) {
    if (n == words::EXCLUDED) *this = big_integer(n);
  }
  template <class T, class = std::enable_if_t<std::is_floating_point_v<T>>>
  QNumber(T) = delete;
  /// n/d, small when both are in the range of `int` before they are normalised.
  QNumber(const mpz_class& n, const mpz_class& d);
  /// The value of digits, with at most one point and an optional minus in front. In the
  /// small form when it fits. Throws std::invalid_argument for any other text.
  static QNumber from_decimal(std::string_view text);

  QNumber(const QNumber& x) : num_(x.num_), den_(x.den_) {
    if (x.is_big()) copy_pair(x);
  }
  /// Leaves 0 behind.
  QNumber(QNumber&& x) noexcept
      : num_(std::exchange(x.num_, 0)), den_(std::exchange(x.den_, 1)) {}
  ~QNumber() {
    if (is_big()) free_pair();
  }
  /// A big target stays big.
  QNumber& operator=(const QNumber& x) {
    if (x.is_big()) {
      assign_pair(x);
    } else {
      assign_words(x.fraction());
    }
    assert(x.is_small() || is_big());
    return *this;
  }
  /// A big target stays big; leaves 0 behind.
  QNumber& operator=(QNumber&& x) noexcept {
    if (x.is_small()) {
      const words::Fraction value = x.fraction();
      x.num_ = 0;
      x.den_ = 1;
      assign_words(value);
    } else if (this != &x) {
      if (is_big()) free_pair();
      num_ = std::exchange(x.num_, 0);
      den_ = std::exchange(x.den_, 1);
    }
    return *this;
  }

  QNumber& operator+=(const QNumber& x) {
    if (!add_words(x)) add_big(x, words::PLUS);
    return *this;
  }
  QNumber& operator-=(const QNumber& x) {
    if (!sub_words(x)) add_big(x, words::MINUS);
    return *this;
  }
  QNumber& operator*=(const QNumber& x) {
    if (!mul_words(x)) mul_big(x);
    return *this;
  }
  QNumber& operator/=(const QNumber& x) {
    assert(!x.is_zero());
    assert(is_small() ? den_ > 0 : num_ != 0);
    if (integers(*this, x) && num_ % x.num_ == 0) {
      num_ /= x.num_;
      return *this;
    }
    if (x.is_small()) return *this *= QNumber(x.inverse_words());
    div_big(x);
    return *this;
  }

  [[nodiscard]] QNumber neg() const {
    return is_small() ? QNumber(words::Fraction{-num_, den_}) : neg_big();
  }
  [[nodiscard]] QNumber inv() const {
    assert(!is_zero());
    return is_small() ? QNumber(inverse_words()) : inv_big();
  }
  /// The greatest integer that is not above this.
  [[nodiscard]] QNumber floor() const {
    if (is_integer()) return *this;
    return is_small() ? QNumber(num_ / den_ - (num_ < 0 ? 1 : 0)) : floor_big();
  }
  [[nodiscard]] QNumber get_num() const {
    return is_small() ? QNumber(num_) : integer_of(big_num());
  }
  [[nodiscard]] QNumber get_den() const {
    return is_small() ? QNumber(den_) : integer_of(big_den());
  }
  /// True when the numerator of x is a multiple of this numerator, which is not 0.
  [[nodiscard]] bool divides(const QNumber& x) const {
    assert(!is_zero());
    return is_small() && x.is_small() ? x.num_ % num_ == 0 : divides_big(x);
  }
  /// Divides the numerators: q*d + r is this. Between small numbers the quotient is
  /// truncated and the remainder has the sign of the dividend; when one is big, the
  /// quotient is rounded down and the remainder has the sign of the divisor.
  void divmod(const QNumber& d, QNumber& q, QNumber& r) const {
    assert(!d.is_zero() && &q != &r);
    if (!(is_small() && d.is_small())) return divmod_big(d, q, r);
    const long quotient = num_ / d.num_;
    const long remainder = num_ % d.num_;
    assert(quotient * d.num_ + remainder == num_);
    q.assign_words({quotient, 1});
    r.assign_words({remainder, 1});
  }
  /// Brings the fields into canonical form.
  void normalize();

  [[nodiscard]] bool is_zero() const { return sign() == 0; }
  [[nodiscard]] bool is_integer() const {
    return is_small() ? den_ == 1 : mpz_cmp_ui(big_den(), 1) == 0;
  }
  [[nodiscard]] int sign() const {
    return is_small() ? (num_ > 0) - (num_ < 0) : mpz_sgn(big_num());
  }

  [[nodiscard]] bool is_small() const { return den_ != 0; }
  /// Takes the small form when the value fits in it.
  void shrink();
  /// The value when it is an integer that fits.
  [[nodiscard]] std::optional<long> to_long() const;
  /// The value within two roundings.
  [[nodiscard]] double to_double() const;
  /// The text that operator<< writes.
  [[nodiscard]] std::string to_str() const;
  /// Bits of the numerator's magnitude and of the denominator, a measure of size.
  [[nodiscard]] std::size_t num_bits() const;
  /// Equal for equal values in different forms.
  [[nodiscard]] std::size_t hash() const;
  /// The invariant above, for assertions.
  [[nodiscard]] bool is_normal() const;

  friend QNumber operator+(const QNumber& a, const QNumber& b) {
    if (a.is_big()) return sum_big(a, b, words::PLUS);
    QNumber r(a);
    r += b;
    return r;
  }
  friend QNumber operator-(const QNumber& a, const QNumber& b) {
    if (a.is_big()) return sum_big(a, b, words::MINUS);
    QNumber r(a);
    r -= b;
    return r;
  }
  friend QNumber operator*(const QNumber& a, const QNumber& b) {
    if (a.is_big()) return product_big(a, b);
    QNumber r(a);
    r *= b;
    return r;
  }
  friend QNumber operator/(const QNumber& a, const QNumber& b) {
    if (a.is_big()) return quotient_big(a, b);
    QNumber r(a);
    r /= b;
    return r;
  }
  friend QNumber operator/(long n, const QNumber& x) { return QNumber(n) / x; }

  friend bool operator==(const QNumber& a, const QNumber& b) {
    if (a.is_small() && b.is_small()) return a.num_ == b.num_ && a.den_ == b.den_;
    return a.is_big() && b.is_big() ? mpq_equal(a.big(), b.big()) != 0 : equal_mixed(a, b);
  }
  friend bool operator<(const QNumber& a, const QNumber& b) {
    if (integers(a, b)) return a.num_ < b.num_;
    if ((a.den_ | b.den_) == 0) return mpq_cmp(a.big(), b.big()) < 0;
    if (a.is_big() || b.is_big()) return less_mixed(a, b);
    return words::less(a.fraction(), b.fraction());
  }
  friend bool operator!=(const QNumber& a, const QNumber& b) { return !(a == b); }
  friend bool operator>(const QNumber& a, const QNumber& b) { return b < a; }
  friend bool operator<=(const QNumber& a, const QNumber& b) { return !(b < a); }
  friend bool operator>=(const QNumber& a, const QNumber& b) { return !(a < b); }

  friend QNumber gcd(const QNumber& a, const QNumber& b);
  friend QNumber lcm(const QNumber& a, const QNumber& b);
  friend std::ostream& operator<<(std::ostream& os, const QNumber& x);

 private:
  using Pair = std::remove_pointer_t<mpq_ptr>;  // numerator, denominator

  explicit constexpr QNumber(words::Fraction f) : num_(f.num), den_(f.den) {
    assert(den_ > 0 && num_ != words::EXCLUDED);
  }
  // A template, so that the literal 0 is a number and no null pointer.
  template <class P, class = std::enable_if_t<std::is_same_v<P, Pair>>>
  explicit QNumber(P* pair) : num_(reinterpret_cast<long>(pair)), den_(0) {
    assert(pair != nullptr);
  }

  [[nodiscard]] bool is_big() const { return den_ == 0; }
  [[nodiscard]] Pair* big() const {
    assert(is_big());
    return reinterpret_cast<Pair*>(num_);  // NOLINT(performance-no-int-to-ptr)
  }
  [[nodiscard]] mpz_ptr big_num() const { return mpq_numref(big()); }
  [[nodiscard]] mpz_ptr big_den() const { return mpq_denref(big()); }
  [[nodiscard]] words::Fraction fraction() const {
    assert(is_small());
    return {num_, den_};
  }
  [[nodiscard]] words::Fraction inverse_words() const {
    assert(is_small() && num_ != 0);
    return num_ < 0 ? words::Fraction{-den_, -num_} : words::Fraction{den_, num_};
  }
  [[nodiscard]] static bool integers(const QNumber& a, const QNumber& b) {
    return ((a.den_ ^ 1) | (b.den_ ^ 1)) == 0;
  }
  bool take(words::Fraction f) {
    if (f.den == 0) return false;
    assert(words::is_normal(f));
    num_ = f.num;
    den_ = f.den;
    return true;
  }

  // The operations within words: false when an operand is big or a value no word, and
  // then this is unchanged.
  bool add_words(const QNumber& x) {
    if (integers(*this, x)) {
      long sum;
      if (!words::add(num_, x.num_, sum)) return false;
      num_ = sum;
      return true;
    }
    return is_small() && x.is_small() &&
           take(words::add(fraction(), x.fraction(), words::PLUS));
  }
  bool sub_words(const QNumber& x) {
    if (integers(*this, x)) {
      long difference;
      if (!words::sub(num_, x.num_, difference)) return false;
      num_ = difference;
      return true;
    }
    return is_small() && x.is_small() &&
           take(words::add(fraction(), x.fraction(), words::MINUS));
  }
  bool mul_words(const QNumber& x) {
    if (integers(*this, x)) {
      long product;
      if (!words::mul(num_, x.num_, product)) return false;
      num_ = product;
      return true;
    }
    return is_small() && x.is_small() && take(words::mul(fraction(), x.fraction()));
  }

  static Pair* new_pair();                   // a pair without values
  static QNumber big_integer(long n);        // n in the big form
  static QNumber integer_of(const mpz_t n);  // small when n is in the range of `int`
  void copy_pair(const QNumber& x);          // the fields already are those of x
  void free_pair() noexcept;
  void assign_pair(const QNumber& x);
  void set_pair(words::Fraction f) noexcept;
  void assign_words(words::Fraction f) noexcept {  // keeps the form
    if (is_small()) {
      num_ = f.num;
      den_ = f.den;
    } else {
      set_pair(f);
    }
  }

  // The operations when an operand is big or a value is no word.
  struct View;
  static QNumber sum_big(const QNumber& a, const QNumber& b, words::Sign sign);
  static QNumber product_big(const QNumber& a, const QNumber& b);
  static QNumber quotient_big(const QNumber& a, const QNumber& b);
  void add_big(const QNumber& x, words::Sign sign);
  void mul_big(const QNumber& x);
  void div_big(const QNumber& x);
  void divmod_big(const QNumber& d, QNumber& q, QNumber& r) const;
  [[nodiscard]] QNumber neg_big() const;
  [[nodiscard]] QNumber inv_big() const;
  [[nodiscard]] QNumber floor_big() const;
  [[nodiscard]] bool divides_big(const QNumber& x) const;
  static bool equal_mixed(const QNumber& a, const QNumber& b);
  static bool less_mixed(const QNumber& a, const QNumber& b);
  static QNumber gcd_big(const QNumber& a, const QNumber& b);
  static QNumber lcm_big(const QNumber& a, const QNumber& b);

  long num_;  // numerator, or address of the pair
  long den_;  // denominator, or 0 for the big form
};

[[nodiscard]] inline QNumber abs(const QNumber& x) { return x.sign() < 0 ? x.neg() : x; }
/// The greatest common divisor of the numerators, never negative; gcd(0, b) = |b|.
[[nodiscard]] inline QNumber gcd(const QNumber& a, const QNumber& b) {
  if (a.is_small() && b.is_small()) return {words::gcd(a.num_, b.num_)};
  return QNumber::gcd_big(a, b);
}
/// The least common multiple of the numerators, never negative; lcm(0, b) = 0.
[[nodiscard]] inline QNumber lcm(const QNumber& a, const QNumber& b) {
  if (!(a.is_small() && b.is_small())) return QNumber::lcm_big(a, b);
  if (a.num_ == 0 || b.num_ == 0) return {};
  long r;
  const bool fits =
      words::mul(words::abs(a.num_) / words::gcd(a.num_, b.num_), words::abs(b.num_), r);
  return fits ? QNumber(r) : QNumber::lcm_big(a, b);
}

}  // namespace opal

template <>
struct std::hash<opal::QNumber> {
  std::size_t operator()(const opal::QNumber& x) const { return x.hash(); }
};

#endif

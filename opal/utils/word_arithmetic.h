#ifndef OPAL_UTILS_WORD_ARITHMETIC_H
#define OPAL_UTILS_WORD_ARITHMETIC_H

// Arithmetic of machine words and of fractions of words.

#include <cassert>
#include <limits>
#include <utility>

/// Exact arithmetic on machine words, the core of QNumber's small form. A word holds
/// -(2^63-1) to 2^63-1. -2^63 counts as overflow, so that every word can be negated.
namespace opal::words {

static_assert(std::numeric_limits<long>::digits == 63, "a word is a 64-bit long");
__extension__ using Int128 = __int128;

constexpr long EXCLUDED = std::numeric_limits<long>::min();

/// The answers of add, sub and mul: true when the exact result is a word, written to r.
[[nodiscard]] inline bool add(long a, long b, long& r) {
  assert(a != EXCLUDED && b != EXCLUDED);
  const bool overflow = __builtin_add_overflow(a, b, &r);
  return !(overflow | (r == EXCLUDED));
}
[[nodiscard]] inline bool sub(long a, long b, long& r) {
  assert(a != EXCLUDED && b != EXCLUDED);
  const bool overflow = __builtin_sub_overflow(a, b, &r);
  return !(overflow | (r == EXCLUDED));
}
[[nodiscard]] inline bool mul(long a, long b, long& r) {
  assert(a != EXCLUDED && b != EXCLUDED);
  const bool overflow = __builtin_mul_overflow(a, b, &r);
  return !(overflow | (r == EXCLUDED));
}

[[nodiscard]] constexpr long abs(long a) {
  assert(a != EXCLUDED);
  return a < 0 ? -a : a;
}

/// Greatest common divisor of magnitudes; gcd(0, b) = b.
///
/// Of two odd numbers, the smaller and the odd part of the difference have the same
/// divisors. A step takes no division and no branch but the loop's; a remainder first
/// brings numbers of very different size together.
[[nodiscard]] inline unsigned long gcd(unsigned long a, unsigned long b) {
  if (a < b) std::swap(a, b);
  if (b > 1 && (a >> 12U) >= b) {
    a %= b;
    std::swap(a, b);
  }
  if (b <= 1) return b == 0 ? a : 1;
  assert(a > 0 && b > 0);
  const int twos = __builtin_ctzl(a | b);
  a >>= static_cast<unsigned>(__builtin_ctzl(a));
  b >>= static_cast<unsigned>(__builtin_ctzl(b));
  while (a != b) {
    const unsigned long difference = a - b;
    const bool less = a < b;
    b = less ? a : b;
    a = (less ? -difference : difference) >>
        static_cast<unsigned>(__builtin_ctzl(difference));
  }
  return a << static_cast<unsigned>(twos);
}
/// The same for words, by their magnitudes.
[[nodiscard]] inline long gcd(long a, long b) {
  return static_cast<long>(gcd(static_cast<unsigned long>(abs(a)),  //
                               static_cast<unsigned long>(abs(b))));
}

/// A fraction in lowest terms with a positive denominator, or den = 0 for "an intermediate
/// value is not a word".
struct Fraction {
  long num;
  long den;
};
constexpr Fraction OVERFLOWN = {0, 0};
[[nodiscard]] inline bool is_normal(Fraction f) {
  return f.den > 0 && f.num != EXCLUDED && gcd(f.num, f.den) == 1;
}

/// How a second operand enters a sum.
enum Sign { PLUS, MINUS };

/// p/q + r/s, or p/q - r/s; both in lowest terms. With g = gcd(q, s):
///
///     t = p*(s/g) +- r*(q/g),   h = gcd(t, g),   (t/h) / ((q/g) * (s/h))
///
/// is in lowest terms: a common factor of t and lcm(q, s) divides g. 1/6 + 1/10 has g = 2,
/// t = 8, h = 2: 4/15.
[[nodiscard]] inline Fraction add(Fraction a, Fraction b, Sign sign) {
  assert(is_normal(a) && is_normal(b));
  const long g = gcd(a.den, b.den);
  Fraction r{};
  long left;
  long right;
  if (g == 1) {
    if (!mul(b.num, a.den, right) || !mul(a.num, b.den, left) ||
        !(sign == MINUS ? sub(left, right, r.num) : add(left, right, r.num)) ||
        !mul(a.den, b.den, r.den))
      return OVERFLOWN;
    assert(is_normal(r));
    return r;
  }
  const long b_factor = a.den / g;
  if (!mul(b.num, b_factor, right) || !mul(a.num, b.den / g, left) ||
      !(sign == MINUS ? sub(left, right, r.num) : add(left, right, r.num)))
    return OVERFLOWN;
  const long h = gcd(r.num, g);
  assert(g % h == 0 && b.den % h == 0);
  if (!mul(b_factor, b.den / h, r.den)) return OVERFLOWN;
  assert(is_normal(Fraction{r.num / h, r.den}));
  return {r.num / h, r.den};
}

/// a * b, both in lowest terms: common factors are cancelled crosswise before multiplying.
[[nodiscard]] inline Fraction mul(Fraction a, Fraction b) {
  assert(is_normal(a) && is_normal(b));
  if (const long u = gcd(a.num, b.den); u != 1) {
    a.num /= u;
    b.den /= u;
  }
  if (const long w = gcd(b.num, a.den); w != 1) {
    b.num /= w;
    a.den /= w;
  }
  Fraction r{};
  if (!mul(a.num, b.num, r.num) || !mul(a.den, b.den, r.den)) return OVERFLOWN;
  assert(is_normal(r));
  return r;
}

/// a < b, without overflow: the products of two words have less than 127 bits.
[[nodiscard]] inline bool less(Fraction a, Fraction b) {
  assert(a.den > 0 && b.den > 0);
  return static_cast<Int128>(a.num) * b.den < static_cast<Int128>(b.num) * a.den;
}

}  // namespace opal::words

#endif
